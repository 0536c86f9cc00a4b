// Dates and times written as the system writes them for its user (on Linux the C library's
// LC_TIME, so the program's main sets the locale from the environment).
#pragma once

#include <string>

namespace cvl {

// The system's short date ("11/24/26" under C).
[[nodiscard]] std::string shortDateText(int year, int month, int day);
// The system's time of day with seconds, without a time zone ("05:49:30" under C).
[[nodiscard]] std::string longTimeText(int hour, int minute, int second);

// The full names of the day of the week of a date and of a month ("Monday", "November" under
// C).
[[nodiscard]] std::string dayName(int year, int month, int day);
[[nodiscard]] std::string monthName(int month);

} // namespace cvl
