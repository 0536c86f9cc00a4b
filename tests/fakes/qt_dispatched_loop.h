// The server's event loop, run by Qt's as the programs run it, for tests that wait with Qt
// Test's helpers.
#pragma once

#include "platform/linux/epoll_event_loop.h"
#include "ui/qt/event_loop_notifier.h"

namespace cvl::test {

struct QtDispatchedLoop {
    EpollEventLoop loop;
    EventLoopNotifier notifier{loop};
};

} // namespace cvl::test
