// Waiting in tests: the event loop runs until a condition holds or a time is up, checking
// every millisecond, so no test depends on how fast the machine happens to be.
#pragma once

#include "platform/event_loop.h"
#include "skipping_clock.h"

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

// Moves `clock`, the clock of `loop`, ahead by `total` in steps of `step`, running what falls
// due after each step as it would have run in its time.
inline void skipAhead(EventLoop& loop, SkippingClock& clock, std::chrono::milliseconds total,
                      std::chrono::milliseconds step = std::chrono::seconds(1)) {
    for (std::chrono::milliseconds done{0}; done < total; done += step) {
        clock.skip(step);
        loop.post([] {}); // the loop measures its wait afresh
        runFor(loop, std::chrono::milliseconds(0));
    }
}

} // namespace cvl::test
