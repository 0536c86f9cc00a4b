// The 48-byte NTP reply: fixed stratum, poll, precision, root delay and dispersion, the
// server's reference (address and time of its last clock setting), the originate field
// chosen by request byte 24 alone, and the receive and transmit timestamps.
#pragma once

#include "timebase/time_base.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace cvl {

inline constexpr std::size_t kNtpPacketSize = 48;

using NtpPacket = std::array<std::uint8_t, kNtpPacketSize>;

// What a reply carries of the server's own state.
struct NtpReference {
    std::uint8_t firstByte = 36;              // leap indicator, version, mode
    std::array<std::uint8_t, 4> identifier{}; // the reference server's IPv4 address
    NtpTimestamp stamp{};                     // when the clock was last set
};

// `request` must hold 48 bytes.
[[nodiscard]] NtpPacket ntpReply(std::string_view request, const NtpTimestamp& receive,
                                 const NtpTimestamp& transmit, const NtpReference& reference);

} // namespace cvl
