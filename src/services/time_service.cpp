#include "services/time_service.h"

#include "core/peer_address.h"

namespace cvl {

namespace {

const QString kNote = QStringLiteral("Time 4 Bytes");
const QString kName = QStringLiteral("Time");

} // namespace

TimeService::TimeService(ServiceHost& host)
    : host_(host) {}

void TimeService::connectionAccepted(QTcpSocket& socket, int) {
    const auto bytes = host_.timeBase().timeProtocolBytes();
    if (!bytes) {
        socket.close();
        return;
    }
    // Logged before anything is sent, unlike the UDP answer.
    host_.CVLWLOG(kNote, addressText(socket.peerAddress()), loggedPort(socket.localPort()), 4,
                  kName, QStringLiteral("TCP"));
    for (const std::uint8_t byte : *bytes) {
        host_.light(Lamp::DataOut);
        socket.write(reinterpret_cast<const char*>(&byte), 1);
    }
    socket.close(); // flushes the four bytes first
    host_.StatusUp();
}

void TimeService::connectionReadyRead(QTcpSocket& socket, int) {
    socket.skip(socket.bytesAvailable()); // whatever a client sends is not read
}

void TimeService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    // Whatever the datagram holds, even nothing, is answered.
    host_.light(Lamp::UdpIn);
    host_.light(Lamp::DataIn);
    if (!host_.countRequest(ServiceId::Time, Transport::Udp)) {
        return;
    }
    SendNTP_UDP(socket, request);
    host_.StatusUp();
}

void TimeService::SendNTP_UDP(DatagramSocket& socket, const Datagram& request) {
    if (!host_.TimeSynced()) {
        return;
    }
    const auto bytes = host_.timeBase().timeProtocolBytes();
    if (!bytes) {
        return;
    }
    // One datagram a byte, most significant first: clients of this server expect it so.
    for (const std::uint8_t byte : *bytes) {
        if (!socket.send(QByteArrayView(reinterpret_cast<const char*>(&byte), 1), request.sender)) {
            return;
        }
        host_.light(Lamp::DataOut);
    }
    host_.showClient(0, request.senderText);
    host_.CVLWLOG(kNote, request.senderText, loggedPort(socket.localPort()), 4, kName,
                  QStringLiteral("UDP"));
}

} // namespace cvl
