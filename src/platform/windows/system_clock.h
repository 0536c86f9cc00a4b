// The real clock on Windows. Stepping it needs the system-time privilege, which an
// administrator's process has but must switch on; a refusal is silent, and a clock built with
// stepping disabled refuses every step.
#pragma once

#include "timebase/clock.h"

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
};

} // namespace cvl
