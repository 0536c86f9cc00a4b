// The arithmetic of accepting a reference server's answer: its transmit time in milliseconds,
// the fields handed to the clock setter, and the texts of the tray tip that reports it.
#pragma once

#include "platform/clock.h"

#include <QString>
#include <cstdint>

namespace cvl {

// An NTP timestamp (8 bytes, most significant first) as milliseconds since 1900.
[[nodiscard]] double GoMilli(const std::uint8_t* bytes);

// Up to 15 significant digits, "." as the decimal point, no trailing zeros and never an
// exponent.
[[nodiscard]] QString decimalText(double value);

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

[[nodiscard]] QString adjustedMessage(double lastOffsetMs);

// The tray tip field: the message, a NUL, then blanks, cut to 64 characters.
[[nodiscard]] QString tipText(const QString& message);
// The field up to its NUL.
[[nodiscard]] QString visibleTip(const QString& field);

// "<short date> 9:5:7.250 | <message>": the time set, without leading zeros.
[[nodiscard]] QString syncToolTip(const ClockSetting& setting, const QString& message);

} // namespace cvl
