#include "ui/qt/event_loop_notifier.h"

#include "platform/linux/epoll_event_loop.h"

namespace cvl {

EventLoopNotifier::EventLoopNotifier(EpollEventLoop& loop)
    : notifier_(loop.descriptor(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_,
                     [&loop] { loop.dispatchReady(); });
}

} // namespace cvl
