// A reference time server of the test's own on loopback: answers 48-byte client requests with
// a server packet carrying a chosen time, or holds its answers until released.
#pragma once

#include <QDateTime>
#include <QUdpSocket>
#include <QtEndian>
#include <array>

namespace cvl::test {

class ReferenceResponder {
public:
    explicit ReferenceResponder(quint16 port = 0) {
        socket.bind(QHostAddress::LocalHost, port);
        QObject::connect(&socket, &QUdpSocket::readyRead, [this] { drain(); });
    }

    [[nodiscard]] quint16 port() const { return socket.localPort(); }

    // The time announced: whole seconds since 1900 and a 32-bit binary fraction.
    void answerWith(quint32 seconds, quint32 fraction) {
        fixedSeconds = seconds;
        fixedFraction = fraction;
        useFixed = true;
    }
    // Answers held back so far go out now; later ones at once.
    void release() {
        holding = false;
        for (const Pending& p : held) {
            answer(p.request, p.from, p.fromPort);
        }
        held.clear();
    }

    bool holding = false;
    int requests = 0;

private:
    struct Pending {
        QByteArray request;
        QHostAddress from;
        quint16 fromPort;
    };

    void drain() {
        while (socket.hasPendingDatagrams()) {
            QByteArray request(static_cast<int>(socket.pendingDatagramSize()), Qt::Uninitialized);
            QHostAddress from;
            quint16 fromPort = 0;
            socket.readDatagram(request.data(), request.size(), &from, &fromPort);
            ++requests;
            if (holding) {
                held.push_back({request, from, fromPort});
            } else {
                answer(request, from, fromPort);
            }
        }
    }

    void answer(const QByteArray& request, const QHostAddress& to, quint16 toPort) {
        if (request.size() != 48) {
            return;
        }
        std::array<char, 48> reply{};
        reply[0] = 0x24; // version 4, server
        reply[1] = 1;    // stratum
        // Taken as a slice: GCC with sanitizers loses the length check above and warns.
        const QByteArray origin = request.sliced(40, 8);
        std::copy(origin.begin(), origin.end(), reply.begin() + 24);
        quint32 seconds = fixedSeconds;
        quint32 fraction = fixedFraction;
        if (!useFixed) {
            const qint64 ms = QDateTime::currentMSecsSinceEpoch();
            seconds = static_cast<quint32>(ms / 1000 + 2208988800LL);
            fraction = static_cast<quint32>((ms % 1000) * 4294967296.0 / 1000);
        }
        for (int stamp : {16, 32, 40}) {
            qToBigEndian(seconds, reply.data() + stamp);
            qToBigEndian(fraction, reply.data() + stamp + 4);
        }
        socket.writeDatagram(reply.data(), reply.size(), to, toPort);
    }

    QUdpSocket socket;
    QList<Pending> held;
    bool useFixed = false;
    quint32 fixedSeconds = 0;
    quint32 fixedFraction = 0;
};

} // namespace cvl::test
