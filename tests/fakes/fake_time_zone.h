// A time zone the test describes field by field. Defaults to UTC with no daylight rules.
#pragma once

#include "platform/time_zone.h"

namespace cvl::test {

class FakeTimeZone final : public TimeZone {
public:
    [[nodiscard]] const TimeZoneReading& GetTimeZoneInformation() const override { return reading; }

    // Eastern time in summer: Bias 300, DaylightBias -60, daylight in effect.
    static FakeTimeZone easternDaylight() {
        FakeTimeZone zone;
        zone.reading.result = TimeZoneIdDaylight;
        zone.reading.info = {300, QStringLiteral("Eastern Standard Time"), 0,
                             QStringLiteral("Eastern Daylight Time"), -60};
        return zone;
    }

    TimeZoneReading reading{TimeZoneIdUnknown,
                            {0, QStringLiteral("Coordinated Universal Time"), 0,
                             QStringLiteral("Coordinated Universal Time"), 0}};
};

} // namespace cvl::test
