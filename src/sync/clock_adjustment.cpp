#include "sync/clock_adjustment.h"

#include "text/leading_number.h"
#include "timebase/calendar.h"

#include "platform/local_format.h"
#include "text/utf8.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace cvl {

namespace {

// 1899-12-30, day 0 of the day numbers, is two days before 1900-01-01.
constexpr std::int64_t secondsFrom18991230To1900 = 2 * secondsPerDay;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    const std::int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

std::uint16_t field(std::int64_t value) {
    return value >= 0 && value <= std::numeric_limits<std::uint16_t>::max()
               ? static_cast<std::uint16_t>(value)
               : std::numeric_limits<std::uint16_t>::max();
}

} // namespace

double GoMilli(const std::uint8_t* bytes) {
    double seconds = 0;
    double fraction = 0;
    for (int i = 0; i < 4; ++i) {
        seconds = seconds * 256 + bytes[i];
        fraction = fraction * 256 + bytes[i + 4];
    }
    return seconds * 1000 + fraction * 1000 / 4294967296.0;
}

std::string decimalText(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-inf" : "inf";
    }
    if (value == 0) {
        return "0";
    }
    // "d.dddddddddddddde+XX": the 15 digits, then placed by the exponent here, since the
    // general format turns to an exponent below 0.0001. to_chars ignores the C locale.
    char scientific[32];
    const auto written = std::to_chars(scientific, scientific + sizeof scientific, std::fabs(value),
                                       std::chars_format::scientific, 14);
    const std::string_view form(scientific, static_cast<std::size_t>(written.ptr - scientific));
    const std::size_t e = form.find('e');
    std::string digits;
    for (const char c : form.substr(0, e)) {
        if (c != '.') {
            digits += c;
        }
    }
    int exponent = 0;
    const std::string_view exponentText = form.substr(e + 1);
    std::from_chars(exponentText.data() + (exponentText.front() == '+' ? 1 : 0),
                    exponentText.data() + exponentText.size(), exponent);
    while (!digits.empty() && digits.back() == '0') {
        digits.pop_back();
    }
    const auto places = static_cast<std::size_t>(std::max(exponent + 1, 0));
    std::string text;
    if (exponent < 0) {
        text = "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits;
    } else if (digits.size() <= places) {
        text = digits + std::string(places - digits.size(), '0');
    } else {
        text = digits.substr(0, places) + '.' + digits.substr(places);
    }
    return value < 0 ? '-' + text : text;
}

int millisecondsPart(double ms) {
    const std::string text = decimalText(ms);
    const std::string_view all(text);
    const std::size_t keep = text.find('.') != std::string::npos ? 6 : 3;
    const std::string_view tail = all.substr(all.size() - std::min(keep, all.size()));
    return roundToInt32(leadingNumber(tail)).value_or(0);
}

ClockSetting clockSettingFor(double remoteMs, std::int32_t roundTripMs) {
    ClockSetting setting;
    setting.dayNumber = (remoteMs / 1000 + 172800) / 86400;
    setting.millisecondsPart = millisecondsPart(remoteMs);

    const double wholeSeconds = std::nearbyint(remoteMs / 1000);
    if (!(std::fabs(wholeSeconds) < 1e15)) {
        return setting; // not a time at all; a year 0 the setter refuses
    }
    // In whole seconds, so that no fraction of a day can drift into the fields.
    const auto seconds = static_cast<std::int64_t>(wholeSeconds) + secondsFrom18991230To1900;
    const std::int64_t day = floorDiv(seconds, secondsPerDay);
    const std::int64_t secondOfDay = seconds - day * secondsPerDay;
    const CivilDate date = civilFromDays(day + daysFromCivil(1899, 12, 30));
    setting.utc.year = field(date.year);
    setting.utc.month = field(date.month);
    setting.utc.day = field(date.day);
    setting.utc.hour = field(secondOfDay / 3600);
    setting.utc.minute = field(secondOfDay / 60 % 60);
    setting.utc.second = field(secondOfDay % 60);
    const double milliseconds = std::nearbyint(roundTripMs / 2.0 + setting.millisecondsPart);
    setting.utc.milliseconds = field(static_cast<std::int64_t>(milliseconds));
    return setting;
}

std::string adjustedMessage(double lastOffsetMs) {
    return "Adjusted by: " + decimalText(lastOffsetMs) + " ms.  CVL Server is Synchronized.";
}

std::string tipText(std::string_view message) {
    constexpr std::size_t fieldLength = 64;
    std::string field(utf8::firstCharacters(message, fieldLength));
    field += '\0';
    const std::size_t characters = utf8::characterCount(field);
    if (characters > fieldLength) {
        field.pop_back(); // the NUL did not fit
    } else {
        field.append(fieldLength - characters, ' ');
    }
    return field;
}

std::string_view visibleTip(std::string_view field) {
    return field.substr(0, field.find('\0'));
}

std::string syncToolTip(const ClockSetting& setting, std::string_view message) {
    // The rounded fields rather than the day number's own date, so that the last half second
    // of a day shows the next date along with 0:0:0.
    const SystemTime& t = setting.utc;
    return shortDateText(t.year, t.month, t.day) + ' ' + std::to_string(t.hour) + ':' +
           std::to_string(t.minute) + ':' + std::to_string(t.second) + '.' +
           std::to_string(setting.millisecondsPart) + " | " + std::string(message);
}

} // namespace cvl
