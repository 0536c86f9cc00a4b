// Ports for tests: free ones from the high range that the services can use (they read ports
// as 16-bit signed numbers, so 20000..32767), and a look at the kernel's socket tables.
#pragma once

#include <QFile>
#include <QRandomGenerator>
#include <QTcpServer>
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

// Whether some socket of this machine listens on the TCP port or is bound to the UDP port.
inline bool kernelHasSocket(bool tcp, quint16 port) {
    const QString hexPort = QStringLiteral(":%1").arg(port, 4, 16, QLatin1Char('0')).toUpper();
    const QStringList tables =
        tcp ? QStringList{QStringLiteral("/proc/net/tcp"), QStringLiteral("/proc/net/tcp6")}
            : QStringList{QStringLiteral("/proc/net/udp"), QStringLiteral("/proc/net/udp6")};
    for (const QString& table : tables) {
        QFile file(table);
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray& line : lines) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            // fields: sl local_address rem_address st ...; TCP listeners have state 0A.
            if (fields.size() > 3 && fields[1].endsWith(hexPort.toLatin1()) &&
                (!tcp || fields[3] == "0A")) {
                return true;
            }
        }
    }
    return false;
}

} // namespace cvl::test
