// The real clock on Linux. Stepping the clock needs CAP_SYS_TIME; a clock built with
// stepping disabled refuses every step, silently, as an unprivileged one does.
#pragma once

#include "timebase/clock.h"

#include <ctime>

namespace cvl {

class SystemClock final : public Clock {
public:
    explicit SystemClock(bool mayStep);

    [[nodiscard]] LocalDateTime localNow() const override;
    [[nodiscard]] int localMilliseconds() const override;
    [[nodiscard]] std::uint32_t tickCountMs() const override;
    ClockStep setSystemTimeUtc(const SystemTime& utc) override;

private:
    bool mayStep_;
    // The calendar breakdown of the last second asked for: requests come many per second.
    mutable std::time_t brokenDownAt_ = -1;
    mutable LocalDateTime brokenDown_;
};

} // namespace cvl
