// The text of a Daytime reply: the local date and time in words, or a NIST-style line with the
// modified Julian day when the server is set to answer that way.
#pragma once

#include "timebase/clock.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace cvl {

// "Monday, November 16, 2026 02:08:04-Eastern Standard Time": the day and month names given,
// 24-hour time. No line end, as clients of old have always received it.
[[nodiscard]] std::string daytimeText(const LocalDateTime& local, std::string_view dayName,
                                      std::string_view monthName, std::string_view zoneName);

// "\n53005 04-01-01 00:00:00 00 0 0 50.0 UTC(CVLS) *": modified Julian day, UTC date and time,
// the daylight code (50 while the local zone keeps daylight time), leap and health flags, and
// the advance in milliseconds.
[[nodiscard]] std::string GrabMJulian(std::int64_t utcSecondsSince1900, bool daylightTime);

} // namespace cvl
