#include "services/unix_time_service.h"

#include <array>

namespace cvl {

namespace {

constexpr std::string_view kNote = "UnixTime REQ";
constexpr std::string_view kName = "UnixTime";

// Most significant byte first.
std::array<char, 4> wireBytes(std::int32_t seconds) {
    const auto value = static_cast<std::uint32_t>(seconds);
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

} // namespace

UnixTimeService::UnixTimeService(ServiceHost& host, ServiceActivity& activity)
    : host_(host)
    , activity_(activity) {}

void UnixTimeService::answerAtOnce(ImmediateConnection& connection) {
    const std::optional<std::int32_t> seconds = host_.timeBase().unixSeconds();
    if (!seconds || !host_.timeSynced()) {
        return;
    }
    const std::array<char, 4> wire = wireBytes(*seconds);
    connection.send(std::string_view(wire.data(), wire.size()));
    host_.logRequest({kNote, connection.peerText(), loggedPort(connection.localPort()), 4, kName,
                      Transport::Tcp});
}

void UnixTimeService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    if (!activity_.countRequest(ServiceId::Unix, Transport::Udp)) {
        return;
    }
    activity_.light(Lamp::UdpIn);
    activity_.light(Lamp::DataIn);
    activity_.showClient(0, request.senderText);
    const std::optional<std::int32_t> seconds = host_.timeBase().unixSeconds();
    if (!seconds || !host_.timeSynced()) {
        return;
    }
    const std::array<char, 4> wire = wireBytes(*seconds);
    if (!socket.send(std::string_view(wire.data(), wire.size()), request.sender)) {
        return;
    }
    host_.logRequest(
        {kNote, request.senderText, loggedPort(socket.localPort()), 4, kName, Transport::Udp});
}

} // namespace cvl
