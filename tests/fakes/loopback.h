// Loopback for tests: free ports from the high range that the services can use (they read
// ports as 16-bit signed numbers, so 20000..32767), an NTP request, and clients that wait by
// spinning the event loop (never by blocking it), with a bound on time.
#pragma once

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

namespace cvl::test {

// A port free for both TCP and UDP at the moment of asking.
inline quint16 freePort() {
    for (int attempt = 0; attempt < 200; ++attempt) {
        const auto port = static_cast<quint16>(QRandomGenerator::global()->bounded(20000, 32768));
        QTcpServer tcp;
        QUdpSocket udp;
        if (tcp.listen(QHostAddress::Any, port) &&
            udp.bind(QHostAddress::Any, port, QAbstractSocket::DontShareAddress)) {
            return port;
        }
    }
    return 0;
}

// A version 4 client request with a transmit stamp; byte 24 set makes sure that it is not
// taken for an answer to the server's own query.
inline QByteArray ntpRequest(quint8 byte24) {
    QByteArray request(48, '\0');
    request[0] = 0x23;
    request[24] = static_cast<char>(byte24);
    for (int i = 40; i < 48; ++i) {
        request[i] = static_cast<char>(i);
    }
    return request;
}

// Sends one datagram and collects the datagrams that come back within the time allowed, or
// until `expected` of them have arrived.
inline QList<QByteArray> udpExchange(quint16 port, const QByteArray& payload, int expected,
                                     int timeoutMs = 1500,
                                     const QHostAddress& host = QHostAddress::LocalHost) {
    QUdpSocket client;
    client.bind(host, 0);
    client.writeDatagram(payload, host, port);
    QList<QByteArray> replies;
    QElapsedTimer timer;
    timer.start();
    while (replies.size() < expected && timer.elapsed() < timeoutMs) {
        QTest::qWait(5);
        while (client.hasPendingDatagrams()) {
            replies << client.receiveDatagram().data();
        }
    }
    return replies;
}

// Connects, optionally sends, and reads until the server closes; what arrived by then.
inline QByteArray tcpExchange(quint16 port, const QByteArray& payload = {}, int timeoutMs = 1500,
                              const QHostAddress& host = QHostAddress::LocalHost) {
    QTcpSocket client;
    QByteArray received;
    QObject::connect(&client, &QTcpSocket::readyRead, [&] { received += client.readAll(); });
    client.connectToHost(host, port);
    client.write(payload);
    (void)QTest::qWaitFor([&] { return client.state() == QAbstractSocket::UnconnectedState; },
                          timeoutMs);
    return received + client.readAll();
}

} // namespace cvl::test
