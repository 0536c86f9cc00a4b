// Exact proleptic Gregorian calendar arithmetic: dates to day counts and back, and
// date-times to seconds since 1900-01-01 00:00:00.
#pragma once

#include "timebase/clock.h"

#include <cstdint>

namespace cvl {

inline constexpr std::int64_t secondsPerDay = 86400;
inline constexpr std::int64_t secondsFrom1900To1970 = 2208988800;
// Modified Julian day number of 1900-01-01.
inline constexpr std::int64_t mjdOf1900 = 15020;

struct CivilDate {
    int year = 1900;
    int month = 1;
    int day = 1;
};

// Days from 1970-01-01 to the given date; negative before it.
[[nodiscard]] std::int64_t daysFromCivil(int year, int month, int day);
[[nodiscard]] CivilDate civilFromDays(std::int64_t daysSince1970);

// Seconds from 1900-01-01 00:00:00 to the date-time, all fields taken as they are (a second
// of 60 counts as the next minute).
[[nodiscard]] std::int64_t secondsSince1900(const LocalDateTime& dateTime);

} // namespace cvl
