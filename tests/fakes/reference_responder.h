// A reference time server of the test's own on loopback: answers 48-byte client requests with
// a server packet carrying a chosen time (or the present), or holds its answers until released.
#pragma once

#include <QDateTime>
#include <QNetworkDatagram>
#include <QUdpSocket>
#include <QtEndian>
#include <optional>

namespace cvl::test {

class ReferenceResponder {
public:
    explicit ReferenceResponder(quint16 port = 0) {
        socket.bind(QHostAddress::LocalHost, port);
        QObject::connect(&socket, &QUdpSocket::readyRead, [this] {
            while (socket.hasPendingDatagrams()) {
                ++requests;
                held.append(socket.receiveDatagram());
                if (!holding) {
                    release();
                }
            }
        });
    }

    [[nodiscard]] quint16 port() const { return socket.localPort(); }
    // Answers held back so far go out now; later ones at once.
    void release() {
        holding = false;
        for (const QNetworkDatagram& request : std::exchange(held, {})) {
            answer(request);
        }
    }

    bool holding = false;
    int requests = 0;
    // The time announced: whole seconds since 1900 and a 32-bit binary fraction.
    std::optional<std::pair<quint32, quint32>> fixed;

private:
    void answer(const QNetworkDatagram& request) {
        // Client requests only: a server's answer to our answer must not start a ping-pong.
        if (request.data().size() != 48 || (request.data().at(0) & 7) != 3) {
            return;
        }
        QByteArray reply(48, '\0');
        reply[0] = 0x24; // version 4, server
        reply[1] = 1;    // stratum
        reply.replace(24, 8, request.data().sliced(40, 8));
        const qint64 ms = QDateTime::currentMSecsSinceEpoch();
        const auto [seconds, fraction] =
            fixed.value_or(std::pair{static_cast<quint32>(ms / 1000 + 2208988800LL),
                                     static_cast<quint32>((ms % 1000) * 4294967296.0 / 1000)});
        for (int stamp : {16, 32, 40}) {
            qToBigEndian(seconds, reply.data() + stamp);
            qToBigEndian(fraction, reply.data() + stamp + 4);
        }
        socket.writeDatagram(reply, request.senderAddress(), request.senderPort());
    }

    QUdpSocket socket;
    QList<QNetworkDatagram> held;
};

} // namespace cvl::test
