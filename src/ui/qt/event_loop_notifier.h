// Lets Qt's event loop run the server's: one socket notifier on the server loop's descriptor,
// and every time it fires, the server handlers that are due. Both share the main thread and
// neither polls.
#pragma once

#include <QSocketNotifier>

namespace cvl {

class EpollEventLoop;

class EventLoopNotifier final {
public:
    explicit EventLoopNotifier(EpollEventLoop& loop);

private:
    QSocketNotifier notifier_;
};

} // namespace cvl
