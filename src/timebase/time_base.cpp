#include "timebase/time_base.h"

#include "text/utf8.h"
#include "timebase/arithmetic.h"
#include "timebase/calendar.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace cvl {

namespace {

constexpr double two32 = 4294967296.0;
constexpr std::array<double, 4> kPowersOf256{1.0, 256.0, 65536.0, 16777216.0};
// Zone names are held in fixed 32-character fields.
constexpr std::size_t zoneNameLength = 32;

[[nodiscard]] std::optional<std::int32_t> toInt32(std::int64_t value) {
    if (value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(value);
}

} // namespace

TimeBase::TimeBase(const Clock& clock, const TimeZone& zone)
    : clock_(clock)
    , zone_(zone) {}

std::optional<std::int32_t> TimeBase::GrabBias() const {
    const TimeZoneReading& reading = zone_.GetTimeZoneInformation();
    std::optional<std::int32_t> biasMinutes = reading.info.Bias;
    if (reading.result == TimeZoneIdDaylight) {
        biasMinutes = toInt32(std::int64_t{reading.info.Bias} + reading.info.DaylightBias);
    }
    if (!biasMinutes) {
        return std::nullopt;
    }
    return toInt32(std::int64_t{*biasMinutes} * 60);
}

bool TimeBase::daylightInEffect() const {
    return zone_.GetTimeZoneInformation().result == TimeZoneIdDaylight;
}

std::optional<std::int64_t> TimeBase::utcSecondsSince1900() const {
    const LocalDateTime local = clock_.localNow();
    const std::optional<std::int32_t> biasSeconds = GrabBias();
    if (!biasSeconds) {
        return std::nullopt;
    }
    return secondsSince1900(local) + *biasSeconds;
}

std::optional<std::array<std::uint8_t, 4>> TimeBase::timeProtocolBytes() const {
    const std::optional<std::int64_t> seconds = utcSecondsSince1900();
    if (!seconds || *seconds < 0 || *seconds > 0xFFFFFFFFLL) {
        return std::nullopt;
    }
    const auto value = static_cast<std::uint32_t>(*seconds);
    return std::array<std::uint8_t, 4>{
        static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
        static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

std::optional<std::int32_t> TimeBase::unixSeconds() const {
    const std::optional<std::int64_t> seconds = utcSecondsSince1900();
    if (!seconds) {
        return std::nullopt;
    }
    return toInt32(*seconds - secondsFrom1900To1970);
}

std::optional<NtpTimestamp> TimeBase::ntpNow() {
    const std::optional<std::int64_t> wholeSeconds = utcSecondsSince1900();
    if (!wholeSeconds) {
        return std::nullopt;
    }
    // A separate reading on purpose: the second may have turned over since localNow().
    const int milliseconds = clock_.localMilliseconds();
    // The stamp depends on these two readings alone; under load many requests share them.
    if (*wholeSeconds != memoSeconds_ || milliseconds != lastMilliseconds_) {
        memoSeconds_ = *wholeSeconds;
        lastMilliseconds_ = milliseconds;
        memoStamp_ = ntpStamp(*wholeSeconds, milliseconds);
    }
    return memoStamp_;
}

std::optional<NtpTimestamp> TimeBase::ntpStamp(std::int64_t wholeSeconds, int milliseconds) {
    const double totalMs = static_cast<double>(wholeSeconds) * 1000 + milliseconds;
    double seconds = totalMs / 1000;

    NtpTimestamp stamp{};
    for (int i = 3; i >= 0; --i) {
        const double scale = kPowersOf256[static_cast<std::size_t>(i)];
        const double digit = std::floor(seconds / scale);
        if (digit < 0 || digit > 255) {
            return std::nullopt;
        }
        stamp[static_cast<std::size_t>(3 - i)] = static_cast<std::uint8_t>(digit);
        seconds -= digit * scale;
    }

    // The fraction is divided down without truncation, so each byte carries the rounding of
    // the ones below it; mdiv() keeps a zero remainder from reaching a byte.
    double fraction = mdiv(totalMs, 1000) * two32 / 1000;
    for (std::size_t k = 7; k >= 4; --k) {
        const std::optional<std::uint8_t> byte = roundToByte(mdiv(fraction, 256));
        if (!byte) {
            return std::nullopt;
        }
        stamp[k] = *byte;
        fraction /= 256;
    }
    return stamp;
}

const std::string& TimeBase::readZone() {
    const TimeZoneReading& reading = zone_.GetTimeZoneInformation();
    const std::string& name = reading.result == TimeZoneIdDaylight ? reading.info.DaylightName
                                                                   : reading.info.StandardName;
    const std::string_view beforeNul(name.c_str()); // stops at the first NUL
    zoneName_ = utf8::firstCharacters(beforeNul, zoneNameLength);
    return zoneName_;
}

} // namespace cvl
