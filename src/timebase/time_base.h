// The server's idea of the present in UTC: seconds since 1900 and 1970 and the 64-bit NTP
// timestamp, worked out from the local clock plus the time zone's bias.
#pragma once

#include "timebase/clock.h"
#include "timebase/time_zone.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace cvl {

// Seconds since 1900 in bytes 0..3 and the binary fraction of a second in bytes 4..7, each
// half most significant byte first.
using NtpTimestamp = std::array<std::uint8_t, 8>;

class TimeBase {
public:
    explicit TimeBase(const Clock& clock, const TimeZone& zone);

    // Seconds to add to local time to get UTC. The standard bias is never added, only the
    // daylight bias while daylight time is in effect. nullopt when it does not fit 32 bits.
    [[nodiscard]] std::optional<std::int32_t> GrabBias() const;
    [[nodiscard]] bool daylightInEffect() const;

    // Whole UTC seconds since 1900-01-01 00:00:00 (local clock to the second, plus the bias).
    [[nodiscard]] std::optional<std::int64_t> utcSecondsSince1900() const;
    // utcSecondsSince1900() as four bytes, most significant first; nullopt outside 32 bits
    // unsigned (before 1900 or from 2036-02-07 06:28:16 UTC on).
    [[nodiscard]] std::optional<std::array<std::uint8_t, 4>> timeProtocolBytes() const;
    // UTC seconds since 1970; nullopt when not a signed 32-bit value, so after
    // 2038-01-19 03:14:07 UTC there is no answer.
    [[nodiscard]] std::optional<std::int32_t> unixSeconds() const;

    // The present as an NTP timestamp, the milliseconds taken from a second clock reading.
    // nullopt when a byte overflows (always so at 999 ms) or the bias does not fit.
    [[nodiscard]] std::optional<NtpTimestamp> ntpNow();
    // The millisecond reading ntpNow() last used.
    [[nodiscard]] int lastMilliseconds() const { return lastMilliseconds_; }

    // Reads the zone's present name (daylight or standard), keeps it for zoneName() and
    // returns it: up to a NUL and at most 32 characters, as the zone record holds it.
    const std::string& readZone();
    [[nodiscard]] const std::string& zoneName() const { return zoneName_; }

private:
    [[nodiscard]] static std::optional<NtpTimestamp> ntpStamp(std::int64_t wholeSeconds,
                                                              int milliseconds);

    const Clock& clock_;
    const TimeZone& zone_;
    int lastMilliseconds_ = 0;
    // The last stamp made and the whole seconds it was made from (with lastMilliseconds_).
    std::int64_t memoSeconds_ = -1;
    std::optional<NtpTimestamp> memoStamp_;
    std::string zoneName_;
};

} // namespace cvl
