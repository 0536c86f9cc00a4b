#include "platform/local_format.h"

#include <ctime>
#include <langinfo.h>

namespace cvl {

namespace {

std::string formatted(const char* format, const std::tm& fields) {
    char text[128];
    const std::size_t length = std::strftime(text, sizeof text, format, &fields);
    return std::string(text, length);
}

} // namespace

std::string shortDateText(int year, int month, int day) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    return formatted("%x", fields);
}

std::string longTimeText(int hour, int minute, int second) {
    std::tm fields{};
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    // Some locales write the zone's name too: the time shown is a recorded local one, not
    // necessarily the present, so the zone is left out of the locale's format.
    std::string format = nl_langinfo(T_FMT);
    for (std::size_t zone = format.find("%Z"); zone != std::string::npos;
         zone = format.find("%Z")) {
        const std::size_t blank = zone > 0 && format[zone - 1] == ' ' ? 1 : 0;
        format.erase(zone - blank, 2 + blank);
    }
    return formatted(format.c_str(), fields);
}

std::string dayName(int year, int month, int day) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = 12; // clear of any daylight-saving change
    timegm(&fields);     // fills in the day of the week
    return formatted("%A", fields);
}

std::string monthName(int month) {
    std::tm fields{};
    fields.tm_mon = month - 1;
    return formatted("%B", fields);
}

} // namespace cvl
