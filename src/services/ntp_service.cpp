#include "services/ntp_service.h"

#include "core/peer_address.h"

namespace cvl {

namespace {

const QString kName = QStringLiteral("NTPv4");
const QString kGoodNote = QStringLiteral("48 Bytes NTP...");

} // namespace

NtpService::NtpService(ServiceHost& host)
    : host_(host) {}

void NtpService::datagramsPending(QUdpSocket& socket) {
    reader_.readAll(socket, [this, &socket](const Datagram& request) {
        host_.light(Lamp::UdpIn);
        // Every arrival is counted; an answer to our own query takes its count back.
        [[maybe_unused]] const bool counted = host_.countRequest(ServiceId::Ntp, Transport::Udp);
        const qint64 size = request.readOk ? request.data.size() : -1;
        if (size == kNtpPacketSize) {
            if (host_.AwaitingReply() && host_.isSyncAnswer(request.data)) {
                host_.acceptSyncAnswer(request.data, request.sender);
                return;
            }
            serveDatagram(socket, request);
            return;
        }
        if (size == 1 && host_.AwaitingReply()) {
            host_.syncDatagramFailed();
            return;
        }
        logError(request.readOk ? size : 0, request.readOk ? 0 : int(socket.error()),
                 request.senderText, loggedPort(socket), QStringLiteral("UDP"));
    });
}

void NtpService::serveDatagram(QUdpSocket& socket, const Datagram& request) {
    host_.showClient(2, request.senderText);
    host_.light(Lamp::DataIn);
    const std::optional<NtpTimestamp> receive = host_.timeBase().GrabTime();
    if (!receive) {
        return;
    }
    host_.CVLWLOG(kGoodNote, request.senderText, loggedPort(socket), 48, kName,
                  QStringLiteral("UDP"));
    GrabTCP123(request.data, *receive, nullptr, &socket, request.sender, request.senderPort);
}

void NtpService::connectionReadyRead(QTcpSocket& socket, int) {
    // Each arrival is taken as the whole request, as a datagram would be.
    const QByteArray request = socket.readAll();
    const QString client = addressText(socket.peerAddress());
    if (request.size() != kNtpPacketSize) {
        logError(request.size(), 0, client, loggedPort(socket), QStringLiteral("TCP"));
        socket.close();
        return;
    }
    const std::optional<NtpTimestamp> receive = host_.timeBase().GrabTime();
    if (!receive) {
        socket.close();
        return;
    }
    host_.CVLWLOG(kGoodNote, client, loggedPort(socket), 48, kName, QStringLiteral("TCP"));
    GrabTCP123(request, *receive, &socket, nullptr, {}, 0);
}

void NtpService::connectionBytesWritten(QTcpSocket& socket, int) {
    if (socket.bytesToWrite() == 0) {
        socket.close(); // the answer is out
    }
}

void NtpService::GrabTCP123(QByteArrayView request, const NtpTimestamp& receive,
                            QTcpSocket* connection, QUdpSocket* socket, const QHostAddress& to,
                            quint16 toPort) {
    const std::optional<NtpTimestamp> transmit = host_.timeBase().GrabTime();
    if (!transmit) {
        if (connection != nullptr) {
            connection->close();
        }
        return;
    }
    const NtpPacket reply = ntpReply(request, receive, *transmit, host_.ntpReference());
    host_.noteNtpMilliseconds(host_.timeBase().LastMilliseconds());
    host_.light(Lamp::DataOut);
    const auto* data = reinterpret_cast<const char*>(reply.data());
    if (connection != nullptr) {
        if (connection->write(data, kNtpPacketSize) != kNtpPacketSize) {
            connection->close();
            host_.StatusUp();
        }
        return;
    }
    if (host_.TimeSynced() &&
        socket->writeDatagram(data, kNtpPacketSize, to, toPort) == kNtpPacketSize) {
        host_.StatusUp();
    }
}

void NtpService::logError(qint64 size, int error, const QString& client, std::int16_t port,
                          const QString& transport) {
    host_.CVLWLOG(QString::number(size) + QStringLiteral(" Bytes NTP ERROR: ") +
                      QString::number(error),
                  client, port, 0, kName, transport);
}

} // namespace cvl
