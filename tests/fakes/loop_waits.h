// Waiting in tests: the event loop runs until a condition holds or a time is up, checking
// every millisecond, so no test depends on how fast the machine happens to be.
#pragma once

#include "platform/event_loop.h"

#include <chrono>

namespace cvl::test {

// Runs `loop` until `done()` holds or `timeout` has passed; whether it held.
template <typename Done>
bool runUntil(EventLoop& loop, Done done,
              std::chrono::milliseconds timeout = std::chrono::seconds(5)) {
    if (done()) {
        return true;
    }
    bool held = false;
    Timer guard(loop, [&] { loop.quit(); });
    guard.setSingleShot(true);
    guard.start(timeout);
    Timer check(loop, [&] {
        if (done()) {
            held = true;
            loop.quit();
        }
    });
    check.start(std::chrono::milliseconds(1));
    loop.run();
    return held;
}

// Runs `loop` for `duration`: whatever falls due in that time runs.
inline void runFor(EventLoop& loop, std::chrono::milliseconds duration) {
    (void)runUntil(
        loop, [] { return false; }, duration);
}

} // namespace cvl::test
