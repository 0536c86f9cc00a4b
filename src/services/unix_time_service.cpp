#include "services/unix_time_service.h"

#include <QtEndian>

namespace cvl {

namespace {

const QString kNote = QStringLiteral("UnixTime REQ");
const QString kName = QStringLiteral("UnixTime");

} // namespace

UnixTimeService::UnixTimeService(ServiceHost& host)
    : host_(host) {}

void UnixTimeService::answerAtOnce(ImmediateConnection& connection) {
    const std::optional<std::int32_t> seconds = host_.timeBase().unixSeconds();
    if (!seconds || !host_.TimeSynced()) {
        return;
    }
    const std::int32_t wire = qToBigEndian(*seconds);
    connection.send(QByteArrayView(reinterpret_cast<const char*>(&wire), 4));
    host_.CVLWLOG(kNote, connection.peerText(), loggedPort(connection.localPort()), 4, kName,
                  QStringLiteral("TCP"));
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
