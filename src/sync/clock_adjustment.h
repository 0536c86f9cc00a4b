// The arithmetic of accepting a reference server's answer: its transmit time in milliseconds,
// the fields handed to the clock setter, and the texts of the tray tip that reports it.
#pragma once

#include "timebase/clock.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace cvl {

// An NTP timestamp (8 bytes, most significant first) as milliseconds since 1900.
[[nodiscard]] double GoMilli(const std::uint8_t* bytes);

// Up to 15 significant digits, "." as the decimal point, no trailing zeros and never an
// exponent.
[[nodiscard]] std::string decimalText(double value);

// The milliseconds as earlier releases have always picked them out of the text of a time in
// ms: the last six characters rounded when there is a ".", the last three otherwise. Only with
// two decimals is that the true part; with one it can go past 999.
[[nodiscard]] int millisecondsPart(double ms);

struct ClockSetting {
    SystemTime utc;
    // Days since 1899-12-30, the time of day as the fraction.
    double dayNumber = 0;
    int millisecondsPart = 0;
};

// Date and time to the nearest second (halves to even), and as milliseconds half the round
// trip plus millisecondsPart(), rounded but not carried into the seconds: a value above 999 is
// left for the clock setter to refuse. One that does not fit the field at all is 65535. The day
// of the week is left 0.
[[nodiscard]] ClockSetting clockSettingFor(double remoteMs, std::int32_t roundTripMs);

[[nodiscard]] std::string adjustedMessage(double lastOffsetMs);

// The tray tip field: the message, a NUL, then blanks, cut to 64 characters.
[[nodiscard]] std::string tipText(std::string_view message);
// The field up to its NUL.
[[nodiscard]] std::string_view visibleTip(std::string_view field);

// "<short date> 9:5:7.250 | <message>": the time set, without leading zeros.
[[nodiscard]] std::string syncToolTip(const ClockSetting& setting, std::string_view message);

} // namespace cvl
