// The clock and the time zone as tests want them: time moves only when a test moves it, and
// the zone is whatever the test describes.
#pragma once

#include "timebase/clock.h"
#include "timebase/time_zone.h"

#include <vector>

namespace cvl::test {

// Stands still at 2004-01-01 00:00:00.000 until the test moves it; records each setting.
class FakeClock final : public Clock {
public:
    [[nodiscard]] LocalDateTime localNow() const override { return now_; }
    [[nodiscard]] int localMilliseconds() const override { return milliseconds_; }
    [[nodiscard]] std::uint32_t tickCountMs() const override { return ticks_; }
    ClockStep setSystemTimeUtc(const SystemTime& utc) override {
        setCalls.push_back(utc);
        return {};
    }

    void set(const LocalDateTime& now, int milliseconds = 0) {
        now_ = now;
        milliseconds_ = milliseconds;
    }
    void setMilliseconds(int milliseconds) { milliseconds_ = milliseconds; }

    std::vector<SystemTime> setCalls;

private:
    LocalDateTime now_{2004, 1, 1, 0, 0, 0};
    int milliseconds_ = 0;
    std::uint32_t ticks_ = 1000;
};

// UTC with no daylight rules unless the test describes another zone.
class FakeTimeZone final : public TimeZone {
public:
    [[nodiscard]] const TimeZoneReading& GetTimeZoneInformation() const override { return reading; }

    // Eastern time in summer: Bias 300, DaylightBias -60, daylight in effect.
    static FakeTimeZone easternDaylight() {
        FakeTimeZone zone;
        zone.reading = {TimeZoneIdDaylight,
                        {300, "Eastern Standard Time", 0, "Eastern Daylight Time", -60}};
        return zone;
    }

    TimeZoneReading reading{TimeZoneIdUnknown,
                            {0, "Coordinated Universal Time", 0, "Coordinated Universal Time", 0}};
};

} // namespace cvl::test
