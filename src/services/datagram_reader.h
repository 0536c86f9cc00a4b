// Takes the datagrams waiting on a UDP socket one at a time into a reused buffer. A burst is
// taken in slices so that one busy port cannot starve the others; the socket reports again
// while datagrams remain.
#pragma once

#include "core/peer_address.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHostAddress>
#include <QUdpSocket>

namespace cvl {

struct Datagram {
    bool readOk = false;
    QByteArrayView data;
    QHostAddress sender;
    quint16 senderPort = 0;
    QString senderText; // as the display and the log show it
};

class DatagramReader {
public:
    DatagramReader()
        : buffer_(65536, Qt::Uninitialized) {}

    template <typename Handle> void readAll(QUdpSocket& socket, Handle&& handle) {
        for (int taken = 0; taken < kSlice && socket.hasPendingDatagrams(); ++taken) {
            Datagram datagram;
            const qint64 size = socket.readDatagram(buffer_.data(), buffer_.size(),
                                                    &datagram.sender, &datagram.senderPort);
            datagram.readOk = size >= 0;
            if (datagram.readOk) {
                datagram.data = QByteArrayView(buffer_.constData(), size);
                datagram.senderText = addressText(datagram.sender);
            }
            handle(datagram);
        }
    }

private:
    static constexpr int kSlice = 256;
    QByteArray buffer_;
};

// The port a socket serves on, as the log records it (16 bits, signed).
[[nodiscard]] inline std::int16_t loggedPort(const QAbstractSocket& socket) {
    return static_cast<std::int16_t>(socket.localPort());
}

} // namespace cvl
