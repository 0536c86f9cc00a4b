// Ctrl+C, Ctrl+Break and the console window's closing (and the session's end) ask for a stop
// in order. The system calls the handler on a thread of its own: the stop is posted to the
// event loop, and for a closing console the handler waits for it, since the process ends as
// soon as the handler returns.
#pragma once

#include "platform/event_loop.h"

#include <functional>

namespace cvl {

class ConsoleRequests final {
public:
    ConsoleRequests(EventLoop& loop, std::function<void()> stop);
    // Lets a waiting handler return: the stop is done.
    ~ConsoleRequests();
    ConsoleRequests(const ConsoleRequests&) = delete;
    ConsoleRequests& operator=(const ConsoleRequests&) = delete;
};

} // namespace cvl
