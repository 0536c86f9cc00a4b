#include "services/time_service.h"

namespace cvl {

namespace {

constexpr std::string_view kNote = "Time 4 Bytes";
constexpr std::string_view kName = "Time";

} // namespace

TimeService::TimeService(ServiceHost& host, ServiceActivity& activity)
    : host_(host)
    , activity_(activity) {}

void TimeService::answerAtOnce(ImmediateConnection& connection) {
    const auto bytes = host_.timeBase().timeProtocolBytes();
    if (!bytes) {
        return;
    }
    // Logged before anything is sent, unlike the UDP answer.
    host_.logRequest({kNote, connection.peerText(), loggedPort(connection.localPort()), 4, kName,
                      Transport::Tcp});
    for (std::size_t i = 0; i < bytes->size(); ++i) {
        activity_.light(Lamp::DataOut);
    }
    // One byte after another, most significant first: to a TCP client that is one 4-byte
    // stream, so the kernel gets them in one go.
    connection.send(std::string_view(reinterpret_cast<const char*>(bytes->data()), 4));
}

void TimeService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    // Whatever the datagram holds, even nothing, is answered.
    activity_.light(Lamp::UdpIn);
    activity_.light(Lamp::DataIn);
    if (!activity_.countRequest(ServiceId::Time, Transport::Udp)) {
        return;
    }
    answerDatagram(socket, request);
}

void TimeService::answerDatagram(DatagramSocket& socket, const Datagram& request) {
    if (!host_.timeSynced()) {
        return;
    }
    const auto bytes = host_.timeBase().timeProtocolBytes();
    if (!bytes) {
        return;
    }
    // One datagram a byte, most significant first: clients of this server expect it so.
    const int sent = socket.sendBytewise(
        std::string_view(reinterpret_cast<const char*>(bytes->data()), 4), request.sender);
    for (int i = 0; i < sent; ++i) {
        activity_.light(Lamp::DataOut);
    }
    if (sent < 4) {
        return;
    }
    activity_.showClient(0, request.senderText);
    host_.logRequest(
        {kNote, request.senderText, loggedPort(socket.localPort()), 4, kName, Transport::Udp});
}

} // namespace cvl
