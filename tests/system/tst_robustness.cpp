// The built executable under hostile load: floods of datagrams of every size, a thousand TCP
// clients at once behaving badly, running out of descriptors, and damaged settings and server
// files. It must keep serving, and give back the memory and descriptors afterwards.
#include "reference_responder.h"
#include "server_process.h"

#include <QDir>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace cvl;

namespace {

int connectTo(quint16 port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in to{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    return fd;
}

// Resident memory in kB, descriptors held, and CPU ticks spent (utime + stime).
long residentKb(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    status.open(QIODevice::ReadOnly);
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmRSS:") + 6).trimmed().split(' ').first().toLong();
}
long descriptors(qint64 pid) {
    return QDir(QStringLiteral("/proc/%1/fd").arg(pid))
        .entryList(QDir::NoDotAndDotDot | QDir::System)
        .size();
}
long cpuTicks(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    stat.open(QIODevice::ReadOnly);
    const QList<QByteArray> fields = stat.readAll().split(')').last().split(' ');
    return fields.value(12).toLong() + fields.value(13).toLong();
}

// An answer to an NTP request (which every service answers) within bounded retries.
bool answersUdp(quint16 port) {
    for (int attempt = 0; attempt < 10; ++attempt) {
        if (!test::udpExchange(port, test::ntpRequest(1), 1, 300).isEmpty()) {
            return true;
        }
    }
    return false;
}

} // namespace

class TestRobustness : public QObject {
    Q_OBJECT

    test::ReferenceResponder reference;
    std::unique_ptr<test::ServerProcess> server;
    test::Ports ports;

    void startServer(const QStringList& wrapper = {}) {
        server = std::make_unique<test::ServerProcess>();
        server->configure(ports);
        server->start({"--reference-port", QString::number(reference.port())}, wrapper);
        QVERIFY(server->waitSynchronised());
    }
    [[nodiscard]] qint64 pid() const { return server->process.processId(); }

private slots:
    void initTestCase() {
        // This test opens thousands of sockets of its own.
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    void cleanup() {
        if (server) {
            QCOMPARE(server->terminate(), 0);
            server.reset();
        }
    }

    void datagramFloodOfEverySize() {
        startServer();
        const long baseline = residentKb(pid());
        QUdpSocket flood;
        QByteArray noise(1500, '\0');
        QRandomGenerator random(11);
        random.fillRange(reinterpret_cast<quint32*>(noise.data()), noise.size() / 4);
        const quint16 udpPorts[] = {ports.time, ports.daytime, ports.ntp, ports.unix};
        for (const quint16 port : udpPorts) {
            for (int i = 0; i < 100000; ++i) {
                flood.writeDatagram(noise.constData(), random.bounded(1501),
                                    QHostAddress::LocalHost, port);
            }
        }
        for (const quint16 port : udpPorts) {
            QVERIFY(answersUdp(port));
        }
#ifndef __SANITIZE_ADDRESS__ // AddressSanitizer holds freed memory back on purpose
        QVERIFY2(residentKb(pid()) < baseline + 4096, "memory back near its baseline");
#else
        Q_UNUSED(baseline);
#endif
    }

    void thousandTcpClientsBehavingBadly() {
        startServer();
        const long baseline = descriptors(pid());
        for (const quint16 port :
             {ports.time, ports.daytime, ports.unix, ports.ntp, ports.client}) {
            std::vector<int> clients;
            for (int i = 0; i < 1000; ++i) {
                const int fd = connectTo(port);
                // Gone at once, reset, garbage then reset, garbage then staying, staying quiet.
                const int kind = i % 5;
                if (kind == 2 || kind == 3) {
                    ::send(fd, "\x01\x02garbage", 9, MSG_NOSIGNAL);
                }
                if (kind == 1 || kind == 2) {
                    const linger now{1, 0};
                    ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
                }
                if (kind < 3) {
                    ::close(fd);
                } else {
                    clients.push_back(fd);
                }
            }
            QTest::qWait(300);
            for (const int fd : clients) {
                ::close(fd);
            }
        }
        QTRY_VERIFY_WITH_TIMEOUT(descriptors(pid()) <= baseline + 2, 10000);
        // Every service still answers in full.
        QCOMPARE(test::tcpExchange(ports.time).size(), 4);
        QCOMPARE(test::tcpExchange(ports.unix).size(), 4);
        QVERIFY(
            test::tcpExchange(ports.daytime).contains(", 20")); // "Monday, November 16, 2026 ..."
        QCOMPARE(test::tcpExchange(ports.ntp, test::ntpRequest(1)).size(), 48);
        QVERIFY(answersUdp(ports.time));
    }

    void runningOutOfDescriptors() {
        startServer({"prlimit", "--nofile=64:64", "--"});
        // NTP clients that connect and say nothing hold a descriptor each until they go.
        std::vector<int> holders;
        for (int i = 0; i < 80; ++i) {
            holders.push_back(connectTo(ports.ntp));
        }
        QTest::qWait(1000);
        // With no descriptor left the listener rests between attempts: a spinning process
        // would spend about 300 ticks in these 3 s.
        const long before = cpuTicks(pid());
        QTest::qWait(3000);
        const long spent = cpuTicks(pid()) - before;
        QVERIFY2(spent < 45, qPrintable(QStringLiteral("%1 ticks").arg(spent)));
        for (const int fd : holders) {
            ::close(fd);
        }
        // Room again: the same listener takes a new client and answers it.
        QCOMPARE(test::tcpExchange(ports.ntp, test::ntpRequest(1), 3000).size(), 48);
    }

    void damagedFilesNeverStopTheStart_data() {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<int>("serverLines");
        QTest::addColumn<int>("lineLength");
        QTest::newRow("truncated settings") << QByteArray("[General]\nNTP37=YES:YES") << 10 << 40;
        QTest::newRow("binary settings") << QByteArray("\x00\xff[\x01=\x02\n\xfe", 8) << 10 << 40;
        QTest::newRow("100 000 server lines") << QByteArray() << 100000 << 40;
        QTest::newRow("a 10 MB line") << QByteArray() << 6 << 10 * 1024 * 1024;
    }
    void damagedFilesNeverStopTheStart() {
        QFETCH(QByteArray, settings);
        QFETCH(int, serverLines);
        QFETCH(int, lineLength);
        test::ServerProcess process;
        QFile file(process.settingsPath());
        QVERIFY(settings.isEmpty() || (file.open(QIODevice::WriteOnly) && file.write(settings)));
        file.close();
        QDir().mkpath(process.dataDir());
        QFile list(process.serverFile());
        QVERIFY(list.open(QIODevice::WriteOnly));
        const QByteArray line = QByteArray(lineLength - 20, 'a') + ":::Somewhere NA:::2:::\r\n";
        for (int i = 0; i < serverLines; ++i) {
            list.write(line);
        }
        list.close();
        process.start({"--update-server", "127.0.0.1:1"});
        QVERIFY(process.process.waitForStarted(5000));
        QTest::qWait(700);
        QCOMPARE(process.process.state(), QProcess::Running);
        QVERIFY2(process.terminate() == 0, process.errors.right(2000).constData());
    }
};

QTEST_GUILESS_MAIN(TestRobustness)
#include "tst_robustness.moc"
