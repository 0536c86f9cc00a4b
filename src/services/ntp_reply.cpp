#include "services/ntp_reply.h"

#include <algorithm>

namespace cvl {

NtpPacket ntpReply(std::string_view request, const NtpTimestamp& receive,
                   const NtpTimestamp& transmit, const NtpReference& reference) {
    NtpPacket reply{};
    reply[0] = reference.firstByte;
    reply[1] = 2;   // stratum
    reply[2] = 4;   // poll
    reply[3] = 239; // precision, -17
    reply[7] = 79;  // root delay 0.0012 s
    reply[10] = 2;  // root dispersion 0.0102 s
    reply[11] = 161;
    std::copy(reference.identifier.begin(), reference.identifier.end(), reply.begin() + 12);
    std::copy(reference.stamp.begin(), reference.stamp.end(), reply.begin() + 16);
    // Only byte 24 decides: a client that left its originate field empty gets its own
    // transmit timestamp back instead.
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(request.data());
    const std::size_t origin = bytes[24] != 0 ? 24 : 40;
    std::copy(bytes + origin, bytes + origin + 8, reply.begin() + 24);
    std::copy(receive.begin(), receive.end(), reply.begin() + 32);
    std::copy(transmit.begin(), transmit.end(), reply.begin() + 40);
    return reply;
}

} // namespace cvl
