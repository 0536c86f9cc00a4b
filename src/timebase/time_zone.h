// The local time zone as one record: biases in minutes (UTC = local + bias) and the names of
// standard and daylight time (UTF-8), with a result code telling which is in effect now.
#pragma once

#include <cstdint>
#include <string>

namespace cvl {

enum TimeZoneResult : std::uint32_t {
    TimeZoneIdUnknown = 0,  // the zone has no daylight rules
    TimeZoneIdStandard = 1, // standard time is in effect
    TimeZoneIdDaylight = 2, // daylight time is in effect
    TimeZoneIdInvalid = 0xFFFFFFFFu,
};

struct TimeZoneInformation {
    std::int32_t Bias = 0; // minutes
    std::string StandardName;
    std::int32_t StandardBias = 0; // minutes
    std::string DaylightName;
    std::int32_t DaylightBias = 0; // minutes
};

struct TimeZoneReading {
    std::uint32_t result = TimeZoneIdUnknown;
    TimeZoneInformation info;
};

class TimeZone {
public:
    virtual ~TimeZone() = default;
    [[nodiscard]] virtual const TimeZoneReading& GetTimeZoneInformation() const = 0;
};

} // namespace cvl
