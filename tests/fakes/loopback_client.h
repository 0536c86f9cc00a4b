// Clients for tests that run the server in the same event loop: they wait by spinning that
// loop (never by blocking it), with a bound on time.
#pragma once

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

namespace cvl::test {

// Sends one datagram and collects the datagrams that come back within the time allowed, or
// until `expected` of them have arrived.
inline QList<QByteArray> udpExchange(quint16 port, const QByteArray& payload, int expected,
                                     int timeoutMs = 1500) {
    QUdpSocket client;
    client.bind(QHostAddress::LocalHost, 0);
    client.writeDatagram(payload, QHostAddress::LocalHost, port);
    QList<QByteArray> replies;
    QElapsedTimer timer;
    timer.start();
    while (replies.size() < expected && timer.elapsed() < timeoutMs) {
        QTest::qWait(5);
        while (client.hasPendingDatagrams()) {
            QByteArray datagram(static_cast<int>(client.pendingDatagramSize()), Qt::Uninitialized);
            client.readDatagram(datagram.data(), datagram.size());
            replies << datagram;
        }
    }
    return replies;
}

// Connects, optionally sends, and reads until the server closes; what arrived by then.
inline QByteArray tcpExchange(quint16 port, const QByteArray& payload = {}, int timeoutMs = 1500) {
    QTcpSocket client;
    QByteArray received;
    QObject::connect(&client, &QTcpSocket::readyRead, [&] { received += client.readAll(); });
    client.connectToHost(QHostAddress::LocalHost, port);
    if (!payload.isEmpty()) {
        client.write(payload);
    }
    QElapsedTimer timer;
    timer.start();
    while (client.state() != QAbstractSocket::UnconnectedState && timer.elapsed() < timeoutMs) {
        QTest::qWait(5);
    }
    return received + client.readAll();
}

} // namespace cvl::test
