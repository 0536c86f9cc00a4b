#include "platform/linux/system_time_zone.h"

#include <ctime>

namespace cvl {

namespace {

// UTC offset in seconds east, and whether daylight time applies, at a moment.
struct ZoneAt {
    long offsetEast = 0;
    bool daylight = false;
};

ZoneAt zoneAt(std::time_t moment) {
    std::tm local{};
    localtime_r(&moment, &local);
    return {local.tm_gmtoff, local.tm_isdst > 0};
}

} // namespace

const TimeZoneReading& SystemTimeZone::GetTimeZoneInformation() const {
    const std::time_t now = std::time(nullptr);
    if (now == readAt_) {
        return reading_;
    }
    readAt_ = now;
    tzset(); // picks up a changed TZ or /etc/localtime
    const ZoneAt current = zoneAt(now);

    // The other half of the year tells the offset of the season we are not in.
    constexpr std::time_t halfYear = 183L * 24 * 3600;
    const ZoneAt other = zoneAt(now + halfYear);

    long standardEast = current.offsetEast;
    long daylightEast = current.offsetEast;
    bool hasDaylightRules = current.daylight != other.daylight;
    if (current.daylight && !other.daylight) {
        standardEast = other.offsetEast;
    } else if (!current.daylight && other.daylight) {
        daylightEast = other.offsetEast;
    } else if (current.daylight) {
        // Permanent daylight time: nothing tells the standard offset; take one hour less.
        standardEast = current.offsetEast - 3600;
        hasDaylightRules = true;
    }

    TimeZoneReading& reading = reading_;
    reading.info.Bias = static_cast<std::int32_t>(-standardEast / 60);
    reading.info.DaylightBias = static_cast<std::int32_t>(-(daylightEast - standardEast) / 60);
    reading.info.StandardBias = 0;
    reading.info.StandardName = tzname[0];
    reading.info.DaylightName = tzname[1];
    if (current.daylight) {
        reading.result = TimeZoneIdDaylight;
    } else {
        reading.result = hasDaylightRules ? TimeZoneIdStandard : TimeZoneIdUnknown;
    }
    return reading_;
}

} // namespace cvl
