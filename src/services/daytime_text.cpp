#include "services/daytime_text.h"

#include "timebase/calendar.h"

namespace cvl {

namespace {

// At least `width` digits, zeros in front; a minus sign before them.
[[nodiscard]] std::string padded(std::int64_t value, std::size_t width) {
    std::string digits = std::to_string(value < 0 ? -value : value);
    if (digits.size() < width) {
        digits.insert(0, width - digits.size(), '0');
    }
    return value < 0 ? '-' + digits : digits;
}

} // namespace

std::string daytimeText(const LocalDateTime& local, std::string_view dayName,
                        std::string_view monthName, std::string_view zoneName) {
    std::string text;
    text.reserve(64);
    text.append(dayName).append(", ").append(monthName).append(" ");
    text += padded(local.day, 2) + ", " + padded(local.year, 4) + ' ' + padded(local.hour, 2) +
            ':' + padded(local.minute, 2) + ':' + padded(local.second, 2) + '-';
    text.append(zoneName);
    return text;
}

std::string GrabMJulian(std::int64_t utcSecondsSince1900, bool daylightTime) {
    // Floored division, so that a moment before 1900 still lands on the right day.
    std::int64_t days = utcSecondsSince1900 / secondsPerDay;
    std::int64_t secondOfDay = utcSecondsSince1900 % secondsPerDay;
    if (secondOfDay < 0) {
        secondOfDay += secondsPerDay;
        --days;
    }
    const CivilDate date = civilFromDays(days - secondsFrom1900To1970 / secondsPerDay);
    return '\n' + padded(days + mjdOf1900, 5) + ' ' + padded(date.year % 100, 2) + '-' +
           padded(date.month, 2) + '-' + padded(date.day, 2) + ' ' + padded(secondOfDay / 3600, 2) +
           ':' + padded(secondOfDay / 60 % 60, 2) + ':' + padded(secondOfDay % 60, 2) + ' ' +
           (daylightTime ? "50" : "00") + " 0 0 50.0 UTC(CVLS) *";
}

} // namespace cvl
