#include "services/ntp_service.h"

#include "net/peer_address.h"

namespace cvl {

namespace {

constexpr std::string_view kName = "NTPv4";
constexpr std::string_view kGoodNote = "48 Bytes NTP...";

} // namespace

NtpService::NtpService(ServiceHost& host, ServiceActivity& activity, OwnQueryReplies& replies)
    : host_(host)
    , activity_(activity)
    , replies_(replies) {}

void NtpService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    activity_.light(Lamp::UdpIn);
    // Every arrival is counted; an answer to our own query takes its count back.
    [[maybe_unused]] const bool counted = activity_.countRequest(ServiceId::Ntp, Transport::Udp);
    if (request.size == kNtpPacketSize) {
        if (replies_.awaitingReply() && replies_.isAnswer(request.data, request.sender)) {
            replies_.acceptAnswer(request.data, request.sender);
            return;
        }
        serveDatagram(socket, request);
        return;
    }
    if (request.size == 1 && replies_.awaitingReply()) {
        replies_.datagramFailed();
        return;
    }
    logError(request.size, 0, request.senderText, loggedPort(socket.localPort()), Transport::Udp);
}

void NtpService::serveDatagram(DatagramSocket& socket, const Datagram& request) {
    activity_.showClient(2, request.senderText);
    activity_.light(Lamp::DataIn);
    const std::optional<NtpTimestamp> receive = host_.timeBase().ntpNow();
    if (!receive) {
        return;
    }
    host_.logRequest(
        {kGoodNote, request.senderText, loggedPort(socket.localPort()), 48, kName, Transport::Udp});
    sendReply(request.data, *receive, nullptr, &socket, request.sender);
}

void NtpService::connectionReadyRead(StreamConnection& socket, int) {
    // Each arrival is taken as the whole request, as a datagram would be.
    const std::string request = socket.takeReceived();
    const std::string client = socket.peer().text();
    if (request.size() != kNtpPacketSize) {
        logError(request.size(), 0, client, loggedPort(socket.localPort()), Transport::Tcp);
        socket.close();
        return;
    }
    const std::optional<NtpTimestamp> receive = host_.timeBase().ntpNow();
    if (!receive) {
        socket.close();
        return;
    }
    host_.logRequest(
        {kGoodNote, client, loggedPort(socket.localPort()), 48, kName, Transport::Tcp});
    sendReply(request, *receive, &socket, nullptr, {});
}

void NtpService::connectionBytesWritten(StreamConnection& socket, int) {
    if (socket.bytesToWrite() == 0) {
        socket.close(); // the answer is out
    }
}

void NtpService::sendReply(std::string_view request, const NtpTimestamp& receive,
                           StreamConnection* connection, DatagramSocket* socket,
                           const PeerAddress& to) {
    const std::optional<NtpTimestamp> transmit = host_.timeBase().ntpNow();
    if (!transmit) {
        if (connection != nullptr) {
            connection->close();
        }
        return;
    }
    const NtpPacket reply = ntpReply(request, receive, *transmit, host_.ntpReference());
    activity_.noteNtpMilliseconds(host_.timeBase().lastMilliseconds());
    activity_.light(Lamp::DataOut);
    const auto* data = reinterpret_cast<const char*>(reply.data());
    if (connection != nullptr) {
        if (!connection->write(std::string_view(data, kNtpPacketSize))) {
            connection->close();
        }
        return;
    }
    if (host_.timeSynced()) {
        // Goes out with the other answers to the same batch of requests.
        socket->sendWithBatch(std::string_view(data, kNtpPacketSize), to);
    }
}

void NtpService::logError(std::size_t size, int error, std::string_view client, std::int16_t port,
                          Transport transport) {
    host_.logRequest({std::to_string(size) + " Bytes NTP ERROR: " + std::to_string(error), client,
                      port, 0, kName, transport});
}

} // namespace cvl
