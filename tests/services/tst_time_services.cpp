// The Time, Daytime and Unix-time services over loopback, with the clock standing at
// 2004-01-01 00:00:00 UTC: exact bytes on both transports, the gate before the clock is set,
// the log record of each answer, and hostile input.
#include "loopback_client.h"
#include "server_rig.h"
#include "test_ports.h"

#include <QFile>
#include <QTest>

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
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
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
        QCOMPARE(udpExchange(timePort, "x", 1, 300).size(), 0);
        QCOMPARE(udpExchange(unixPort, "x", 1, 300).size(), 0);
        QCOMPARE(udpExchange(daytimePort, "x", 1, 300).size(), 0);
        // Each UDP datagram is still taken in and counted.
        QCOMPARE(rig->server().listeners().udpRequests(ServiceId::Time).value(), 1);
        QCOMPARE(rig->server().listeners().udpRequests(ServiceId::Unix).value(), 1);
        QCOMPARE(rig->server().listeners().udpRequests(ServiceId::Daytime).value(), 1);
        QCOMPARE(rig->server().remoteHost(1).address, QStringLiteral("127.0.0.1"));
        QVERIFY(logLines().isEmpty());
    }

    void timeAnswersInFourBytes() {
        rig->server().setTimeSynced();
        const QList<QByteArray> datagrams = udpExchange(timePort, {}, 4);
        QCOMPARE(datagrams, (QList<QByteArray>{"\xC3", "\x9D", "\xE1", "\x80"}));
        QCOMPARE(tcpExchange(timePort), kTimeBytes);
        QCOMPARE(rig->server().listeners().tcpRequests(ServiceId::Time).value(), 1);

        const QStringList lines = logLines();
        QCOMPARE(lines.size(), 5 + 2);
        const QString tail = QStringLiteral(" 0 %1 Time UDP - ").arg(timePort);
        QVERIFY2(lines[5].startsWith("2004-01-01 00:00:00 127.0.0.1 - CVLS5 testhost tester "
                                     "192.0.2.10 GET TIME - 0 0 4 12") &&
                     lines[5].endsWith(tail),
                 qPrintable(lines[5]));
        QVERIFY(lines[6].endsWith(QStringLiteral(" Time TCP - ")));
    }

    void unixTimeAnswersInOneWrite() {
        rig->server().setTimeSynced();
        QCOMPARE(udpExchange(unixPort, "", 1), QList<QByteArray>{kUnixBytes});
        QCOMPARE(tcpExchange(unixPort), kUnixBytes);
        QCOMPARE(logLines().filter(QStringLiteral(" UnixTime ")).size(), 2);
    }

    void unixTimeEndsIn2038() {
        rig->server().setTimeSynced();
        rig->clock.set({2038, 1, 19, 3, 14, 7});
        QCOMPARE(udpExchange(unixPort, "", 1), QList<QByteArray>{QByteArray::fromHex("7FFFFFFF")});
        rig->clock.set({2038, 1, 19, 3, 14, 8});
        QCOMPARE(udpExchange(unixPort, "", 1, 300).size(), 0);
    }

    void daytimeTextWithoutLineEnd() {
        rig->server().setTimeSynced();
        QCOMPARE(tcpExchange(daytimePort), kDaytime);
        QCOMPARE(udpExchange(daytimePort, "anything", 1), QList<QByteArray>{kDaytime});
        const QStringList records = logLines().filter(QStringLiteral(" DayTime "));
        QCOMPARE(records.size(), 2);
        // TCP logs its note, UDP the text itself: byte totals 15 and the text's length.
        QVERIFY(records[0].contains(QStringLiteral(" %1 15 0 ").arg(kDaytime.size())));
        QVERIFY(records[1].contains(QStringLiteral(" %1 %1 0 ").arg(kDaytime.size())));

        rig->server().setUseJulian(true);
        QCOMPARE(tcpExchange(daytimePort),
                 QByteArray("\n53005 04-01-01 00:00:00 00 0 0 50.0 UTC(CVLS) *"));
    }

    void hostileInputLeavesTheServerServing() {
        rig->server().setTimeSynced();
        const QByteArray huge(65507, '\xAB');
        QCOMPARE(udpExchange(timePort, huge, 4).size(), 4);
        QCOMPARE(udpExchange(unixPort, huge, 1).size(), 1);
        QCOMPARE(udpExchange(daytimePort, huge, 1).size(), 1);

        // A client that talks and resets before its answer.
        for (const quint16 port : {timePort, unixPort, daytimePort}) {
            QTcpSocket rude;
            rude.connectToHost(QHostAddress::LocalHost, port);
            QVERIFY(rude.waitForConnected(1000));
            rude.write(QByteArray(4096, 'g'));
            rude.flush();
            rude.abort();
        }
        QCOMPARE(tcpExchange(timePort, "garbage"), kTimeBytes);
        QCOMPARE(tcpExchange(unixPort), kUnixBytes);
        QCOMPARE(tcpExchange(daytimePort), kDaytime);
    }
};

QTEST_GUILESS_MAIN(TestTimeServices)
#include "tst_time_services.moc"
