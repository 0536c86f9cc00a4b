#include "timebase/calendar.h"

namespace cvl {

// Both conversions count in 400-year eras of 146097 days that begin on 1 March, so that the
// leap day falls at the end of the counted year.

std::int64_t daysFromCivil(int year, int month, int day) {
    const std::int64_t y = static_cast<std::int64_t>(year) - (month <= 2 ? 1 : 0);
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

CivilDate civilFromDays(std::int64_t daysSince1970) {
    const std::int64_t z = daysSince1970 + 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const std::int64_t dayOfEra = z - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthIndex = (5 * dayOfYear + 2) / 153; // 0 = March
    const int day = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    const int month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    const auto year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
    return {year, month, day};
}

std::int64_t secondsSince1900(const LocalDateTime& dateTime) {
    const std::int64_t days = daysFromCivil(dateTime.year, dateTime.month, dateTime.day);
    return secondsFrom1900To1970 + days * secondsPerDay + std::int64_t{dateTime.hour} * 3600 +
           std::int64_t{dateTime.minute} * 60 + dateTime.second;
}

} // namespace cvl
