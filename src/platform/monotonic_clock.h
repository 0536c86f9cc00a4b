// The monotonic time that the event loop's timers and the idle limits run on. The system's own
// never jumps; tests hand a loop one they can move ahead, so that an hour-long schedule, the
// idle limit of a connection and the unanswered notice run in milliseconds.
#pragma once

#include <chrono>

namespace cvl {

class MonotonicClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~MonotonicClock() = default;
    [[nodiscard]] virtual TimePoint now() const = 0;
};

// The system's monotonic clock.
[[nodiscard]] const MonotonicClock& systemMonotonicClock();

} // namespace cvl
