// The built executable under hostile load: floods of datagrams of every size, a thousand TCP
// clients at once behaving badly, running out of descriptors, and damaged settings and server
// files. It must keep serving, and give back the memory and descriptors afterwards.
#include "reference_responder.h"
#include "server_process.h"
#include "test_ports.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSettings>
#include <QTest>
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace cvl;

namespace {

struct Ports {
    quint16 time = test::freePort(), daytime = test::freePort(), ntp = test::freePort(),
            unix = test::freePort(), client = test::freePort();
};

sockaddr_in loopback(quint16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

long statusField(qint64 pid, const char* field) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field)) {
            return line.mid(qstrlen(field)).trimmed().split(' ').first().toLong();
        }
    }
    return -1;
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
    return fields.value(12).toLong() + fields.value(13).toLong(); // utime + stime
}

// One UDP request and whether an answer came within the time allowed (bounded retries).
bool answersUdp(quint16 port, const QByteArray& request) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const timeval wait{0, 300000};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
    const sockaddr_in to = loopback(port);
    bool answered = false;
    for (int attempt = 0; attempt < 10 && !answered; ++attempt) {
        ::sendto(fd, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                 sizeof to);
        char reply[2048];
        answered = ::recv(fd, reply, sizeof reply, 0) > 0;
    }
    ::close(fd);
    return answered;
}

int connectTo(quint16 port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in to = loopback(port);
    ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    return fd;
}

QByteArray ntpRequest() {
    QByteArray request(48, '\0');
    request[0] = 0x23;
    request[24] = 1; // not mistaken for an answer to the server's own query
    return request;
}

} // namespace

class TestRobustness : public QObject {
    Q_OBJECT

    test::ReferenceResponder reference;
    std::unique_ptr<test::ServerProcess> server;
    Ports ports;

    void startServer(const QStringList& wrapper = {}) {
        server = std::make_unique<test::ServerProcess>();
        QSettings ini(server->settingsPath(), QSettings::IniFormat);
        ini.setValue("Settings", "NO:59:Minutes/s:NA:36");
        ini.setValue("NTP37", QString("YES:YES:YES:%1").arg(ports.time));
        ini.setValue("DTS13", QString("YES:YES:YES:%1").arg(ports.daytime));
        ini.setValue("SNTP123", QString("YES:YES:YES:%1").arg(ports.ntp));
        ini.setValue("UNIX519", QString("YES:YES:YES:%1").arg(ports.unix));
        ini.setValue("CVL3777", QString("YES:YES:NO:%1").arg(ports.client));
        ini.sync();
        server->writeServerFile({QStringLiteral("127.0.0.1:::Loopback NA:::2:::")});
        const QStringList arguments =
            server->safeArguments() +
            QStringList{"--reference-port", QString::number(reference.port())};
        if (wrapper.isEmpty()) {
            server->process.setArguments(arguments);
        } else {
            server->process.setProgram(wrapper.first());
            server->process.setArguments(
                wrapper.mid(1) + QStringList{QStringLiteral(CHRONVALE_SERVER_EXE)} + arguments);
        }
        server->process.start();
        QVERIFY(server->process.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(
            server->process.peek(0).isEmpty() && test::kernelHasSocket(true, ports.client), 5000);
        QTRY_VERIFY_WITH_TIMEOUT(answersUdp(ports.ntp, ntpRequest()), 5000); // synchronised
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
        const long baseline = statusField(pid(), "VmRSS:");
        const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        QByteArray noise(1500, '\0');
        QRandomGenerator random(11);
        random.fillRange(reinterpret_cast<quint32*>(noise.data()), noise.size() / 4);
        for (const quint16 port : {ports.time, ports.daytime, ports.ntp, ports.unix}) {
            const sockaddr_in to = loopback(port);
            for (int i = 0; i < 100000; ++i) {
                ::sendto(fd, noise.data(), random.bounded(1501), 0,
                         reinterpret_cast<const sockaddr*>(&to), sizeof to);
            }
        }
        ::close(fd);
        for (const quint16 port : {ports.time, ports.daytime, ports.unix}) {
            QVERIFY(answersUdp(port, {}));
        }
        QVERIFY(answersUdp(ports.ntp, ntpRequest()));
#ifndef __SANITIZE_ADDRESS__ // AddressSanitizer holds freed memory back on purpose
        QVERIFY2(statusField(pid(), "VmRSS:") < baseline + 4096, "memory back near its baseline");
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
                switch (i % 4) {
                case 0: // gone at once
                    ::close(fd);
                    continue;
                case 1: { // reset
                    const linger now{1, 0};
                    ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
                    ::close(fd);
                    continue;
                }
                case 2: // garbage
                    ::send(fd, "\x01\x02garbage", 9, MSG_NOSIGNAL);
                    break;
                default:
                    break;
                }
                clients.push_back(fd);
            }
            QTest::qWait(300);
            for (const int fd : clients) {
                ::close(fd);
            }
        }
        QTRY_VERIFY_WITH_TIMEOUT(descriptors(pid()) <= baseline + 2, 10000);
        QVERIFY(answersUdp(ports.time, {}));
    }

    void runningOutOfDescriptors() {
        startServer(
            {QStringLiteral("prlimit"), QStringLiteral("--nofile=64:64"), QStringLiteral("--")});
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
        const int client = connectTo(ports.ntp);
        const timeval wait{3, 0};
        ::setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
        QCOMPARE(::send(client, ntpRequest().constData(), 48, MSG_NOSIGNAL), ssize_t{48});
        char reply[64];
        QCOMPARE(::recv(client, reply, sizeof reply, MSG_WAITALL), ssize_t{48});
        ::close(client);
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
        if (!settings.isEmpty()) {
            QFile file(process.settingsPath());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(settings);
        }
        QDir().mkpath(process.dataDir());
        QFile list(process.dataDir() + "/QBK_CVLS4.CVL");
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
        const int status = process.terminate();
        QVERIFY2(status == 0, process.process.readAllStandardError().right(2000).constData());
    }
};

QTEST_GUILESS_MAIN(TestRobustness)
#include "tst_robustness.moc"
