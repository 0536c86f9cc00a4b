// The Time, Daytime and Unix-time services over loopback, with the clock standing at
// 2004-01-01 00:00:00 UTC: exact bytes on both transports, the gate before the clock is set,
// the log record of each answer; and the Daytime texts for other dates. Clients that misbehave
// are the system tests' business (tst_robustness).
#include "loopback.h"
#include "server_rig.h"

using namespace cvl;
using test::tcpExchange;
using test::udpExchange;

namespace {

const QByteArray kTimeBytes = QByteArray::fromHex("C39DE180");
const QByteArray kUnixBytes = QByteArray::fromHex("3FF36300");
const QByteArray kDaytime = "Thursday, January 01, 2004 00:00:00-Coordinated Universal Time";

} // namespace

class TestTimeServices : public QObject {
    Q_OBJECT

    std::unique_ptr<test::ServerRig> rig;
    quint16 timePort = 0;
    quint16 unixPort = 0;
    quint16 daytimePort = 0;

    [[nodiscard]] QStringList logLines() const {
        QFile file(rig->server().logFilePath());
        file.open(QIODevice::ReadOnly);
        return QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    }

private slots:
    void init() {
        rig = std::make_unique<test::ServerRig>();
        timePort = test::freePort();
        unixPort = test::freePort();
        daytimePort = test::freePort();
        rig->store.putHome("NTP37", QString("YES:YES:YES:%1").arg(timePort));
        rig->store.putHome("UNIX519", QString("YES:YES:YES:%1").arg(unixPort));
        rig->store.putHome("DTS13", QString("YES:YES:YES:%1").arg(daytimePort));
        rig->store.putHome("SNTP123", "NO:YES:YES:123");
        rig->store.putHome("CVL3777", "NO:YES:NO:3777");
        rig->writeServerFile();
        rig->server().start();
    }
    void cleanup() { rig.reset(); }

    void nothingAnsweredBeforeTheClockIsSet() {
        for (const quint16 port : {timePort, unixPort, daytimePort}) {
            QCOMPARE(udpExchange(port, "x", 1, 300).size(), 0);
        }
        // Each UDP datagram is still taken in and counted.
        for (const ServiceId id : {ServiceId::Time, ServiceId::Unix, ServiceId::Daytime}) {
            QCOMPARE(rig->server().listeners().udpRequests(id).value(), 1);
        }
        QCOMPARE(rig->server().remoteHost(1).address, std::string("127.0.0.1"));
        QVERIFY(logLines().isEmpty());
    }

    void exactAnswersAndTheirRecords() {
        rig->server().setTimeSynced();
        // Time: four one-byte datagrams, or the four bytes on a stream; Unix time in one write;
        // Daytime's text without a line end. Whatever a datagram holds is answered.
        const QByteArray huge(65507, '\xAB');
        QCOMPARE(udpExchange(timePort, huge, 4),
                 (QList<QByteArray>{"\xC3", "\x9D", "\xE1", "\x80"}));
        QCOMPARE(tcpExchange(timePort, "garbage"), kTimeBytes);
        QCOMPARE(rig->server().listeners().tcpRequests(ServiceId::Time).value(), 1);
        QCOMPARE(udpExchange(unixPort, {}, 1), QList<QByteArray>{kUnixBytes});
        QCOMPARE(tcpExchange(unixPort), kUnixBytes);
        QCOMPARE(tcpExchange(daytimePort), kDaytime);
        QCOMPARE(udpExchange(daytimePort, huge, 1), QList<QByteArray>{kDaytime});

        const QStringList lines = logLines();
        QCOMPARE(lines.size(), 5 + 6);
        const QString tail = QStringLiteral(" 0 %1 Time UDP - ").arg(timePort);
        QVERIFY2(lines[5].startsWith("2004-01-01 00:00:00 127.0.0.1 - CVLS5 testhost tester "
                                     "192.0.2.10 GET TIME - 0 0 4 12") &&
                     lines[5].endsWith(tail),
                 qPrintable(lines[5]));
        QVERIFY(lines[6].endsWith(QStringLiteral(" Time TCP - ")));
        QCOMPARE(lines.filter(QStringLiteral(" UnixTime ")).size(), 2);
        // Daytime over TCP logs its note, over UDP the text: byte totals 15 and its length.
        const QStringList daytime = lines.filter(QStringLiteral(" DayTime "));
        QCOMPARE(daytime.size(), 2);
        QVERIFY(daytime[0].contains(QStringLiteral(" %1 15 0 ").arg(kDaytime.size())));
        QVERIFY(daytime[1].contains(QStringLiteral(" %1 %1 0 ").arg(kDaytime.size())));

        rig->server().setUseJulian(true);
        QCOMPARE(tcpExchange(daytimePort),
                 QByteArray("\n53005 04-01-01 00:00:00 00 0 0 50.0 UTC(CVLS) *"));
        // Past the last second that Unix time can count, nothing is sent.
        rig->clock.set({2038, 1, 19, 3, 14, 8});
        QCOMPARE(udpExchange(unixPort, "", 1, 300).size(), 0);
    }

    // IPv4 and IPv6 clients reach separate sockets on the same port; both are answered and
    // logged under their own address.
    void ipv6ClientsAnswered() {
        QUdpSocket probe;
        if (!probe.bind(QHostAddress::LocalHostIPv6, 0)) {
            QSKIP("no IPv6 loopback here");
        }
        rig->server().setTimeSynced();
        const QHostAddress v6 = QHostAddress::LocalHostIPv6;
        QCOMPARE(udpExchange(timePort, "x", 4, 1500, v6).size(), 4);
        QCOMPARE(tcpExchange(unixPort, {}, 1500, v6), kUnixBytes);
        QCOMPARE(tcpExchange(unixPort), kUnixBytes);
        const QStringList lines = logLines();
        QCOMPARE(lines.filter(QStringLiteral(" ::1 - CVLS5 ")).size(), 2);
        QCOMPARE(lines.filter(QStringLiteral(" 127.0.0.1 - CVLS5 ")).size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestTimeServices)
#include "tst_time_services.moc"
