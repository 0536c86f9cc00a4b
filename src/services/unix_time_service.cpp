#include "services/unix_time_service.h"

#include "core/peer_address.h"

#include <QtEndian>

namespace cvl {

namespace {

const QString kNote = QStringLiteral("UnixTime REQ");
const QString kName = QStringLiteral("UnixTime");

} // namespace

UnixTimeService::UnixTimeService(ServiceHost& host)
    : host_(host) {}

void UnixTimeService::connectionAccepted(QTcpSocket& socket, int) {
    const std::optional<std::int32_t> seconds = host_.timeBase().unixSeconds();
    if (!seconds || !host_.TimeSynced()) {
        socket.close();
        return;
    }
    const std::int32_t wire = qToBigEndian(*seconds);
    if (socket.write(reinterpret_cast<const char*>(&wire), 4) != 4) {
        socket.abort();
    }
    const QString client = addressText(socket.peerAddress());
    const std::int16_t port = loggedPort(socket.localPort());
    socket.close();
    host_.CVLWLOG(kNote, client, port, 4, kName, QStringLiteral("TCP"));
}

void UnixTimeService::connectionReadyRead(QTcpSocket& socket, int) {
    socket.skip(socket.bytesAvailable());
}

void UnixTimeService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    if (!host_.countRequest(ServiceId::Unix, Transport::Udp)) {
        return;
    }
    host_.light(Lamp::UdpIn);
    host_.light(Lamp::DataIn);
    host_.showClient(0, request.senderText);
    const std::optional<std::int32_t> seconds = host_.timeBase().unixSeconds();
    if (!seconds || !host_.TimeSynced()) {
        return;
    }
    const std::int32_t wire = qToBigEndian(*seconds);
    if (!socket.send(QByteArrayView(reinterpret_cast<const char*>(&wire), 4), request.sender)) {
        return;
    }
    host_.CVLWLOG(kNote, request.senderText, loggedPort(socket.localPort()), 4, kName,
                  QStringLiteral("UDP"));
}

} // namespace cvl
