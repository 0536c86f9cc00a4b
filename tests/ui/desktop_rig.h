// The controller on fakes with its event loop dispatched by Qt's, as the desktop program runs
// it, so that Qt Test's waits run the server too.
#pragma once

#include "platform/linux/epoll_event_loop.h"
#include "server_rig.h"
#include "ui/qt/event_loop_notifier.h"

namespace cvl::test {

struct DesktopRig : ServerRig {
    EventLoopNotifier notifier{dynamic_cast<EpollEventLoop&>(*loop)};
};

} // namespace cvl::test
