// Synchronisation end to end inside one process: the controller asks a loopback reference
// server of the test's own, takes its answer on the NTP service's socket, sets the (fake)
// clock, and from then on the NTP service answers with the reference it recorded.
#include "loopback_client.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "sync/time_query.h"
#include "test_ports.h"

#include <QCoreApplication>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>

using namespace cvl;
using test::udpExchange;

namespace {

// 2004-01-01 00:00:10.25 UTC
constexpr quint32 kReferenceSeconds = 3281904010u;
constexpr quint32 kQuarterSecond = 0x40000000u;

QByteArray clientRequest(quint8 byte24) {
    QByteArray request(48, '\0');
    request[0] = 0x23; // version 4, client
    request[24] = static_cast<char>(byte24);
    for (int i = 40; i < 48; ++i) {
        request[i] = static_cast<char>(i); // the client's transmit stamp
    }
    return request;
}

} // namespace

class TestSynchronisation : public QObject {
    Q_OBJECT

    std::unique_ptr<test::ServerRig> rig;
    std::unique_ptr<test::ReferenceResponder> reference;
    quint16 ntpPort = 0;

    void startWith(const QStringList& entries, const QString& region = QStringLiteral("EU")) {
        rig = std::make_unique<test::ServerRig>();
        reference = std::make_unique<test::ReferenceResponder>();
        reference->answerWith(kReferenceSeconds, kQuarterSecond);
        rig->options.referencePort = reference->port();
        ntpPort = test::freePort();
        rig->writeServerFile(entries);
        rig->store.putHome("Settings", "NO:30:Second/s:" + region + ":36");
        rig->store.putHome("SNTP123", QString("YES:YES:YES:%1").arg(ntpPort));
        rig->server().start();
    }

private slots:
    void cleanup() {
        rig.reset();
        reference.reset();
    }

    void answerSetsClockAndReference() {
        startWith({"127.0.0.1:::Loopback EU:::2:::"});
        CVL_Server& server = rig->server();
        QTRY_VERIFY(server.TimeSynced());
        QCOMPARE(reference->requests, 1);
        QCOMPARE(rig->clock.setCalls.size(), std::size_t{1});
        // The fake ticks stand still: no round trip, so 00:00:10 and 250 ms exactly.
        QCOMPARE(rig->clock.setCalls[0], (SystemTime{2004, 1, 0, 1, 0, 0, 10, 250}));
        // The send stamp was taken at 00:00:00.000, whose fraction is never zero.
        QCOMPARE(server.timeQuery().SyncMessage(),
                 QStringLiteral("Adjusted by: 10187.9716796875 ms.  CVL Server is Synchronized."));
        QCOMPARE(server.TipText().size(), 64);
        QCOMPARE(server.listeners().udpRequests(ServiceId::Ntp).value(), 0);

        const QList<QByteArray> replies = udpExchange(ntpPort, clientRequest(0), 1);
        QCOMPARE(replies.size(), 1);
        const QByteArray reply = replies.first();
        QCOMPARE(reply.size(), 48);
        QCOMPARE(reply.left(16).toHex(), QByteArray("240204ef0000004f000002a17f000001"));
        QCOMPARE(reply.mid(16, 8),
                 QByteArray(
                     reinterpret_cast<const char*>(server.timeQuery().LastSyncStamp().data()), 8));
        QCOMPARE(reply.mid(24, 8), clientRequest(0).mid(40, 8)); // transmit stamp echoed
        QCOMPARE(reply.mid(32, 4).toHex(), QByteArray("c39de180"));
        QCOMPARE(udpExchange(ntpPort, clientRequest(9), 1).first().mid(24, 8),
                 clientRequest(9).mid(24, 8));
    }

    void onlyFortyEightBytesAreServed() {
        startWith({"127.0.0.1:::Loopback EU:::2:::"});
        QTRY_VERIFY(rig->server().TimeSynced());
        QCOMPARE(udpExchange(ntpPort, QByteArray(47, '\1'), 1, 300).size(), 0);
        QCOMPARE(udpExchange(ntpPort, QByteArray(49, '\1'), 1, 300).size(), 0);
        QFile log(rig->server().logFilePath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        const QByteArray text = log.readAll();
        QVERIFY(text.contains(" 0 0 0 "));
        QVERIFY(text.contains("NTPv4 UDP - \r\n"));

        const QByteArray overTcp = test::tcpExchange(ntpPort, clientRequest(0));
        QCOMPARE(overTcp.size(), 48);
        QCOMPARE(test::tcpExchange(ntpPort, QByteArray(47, '\1')).size(), 0);
    }

    void nothingServedBeforeTheAnswer() {
        rig = std::make_unique<test::ServerRig>();
        reference = std::make_unique<test::ReferenceResponder>();
        reference->holding = true;
        rig->options.referencePort = reference->port();
        ntpPort = test::freePort();
        rig->writeServerFile({"127.0.0.1:::Loopback EU:::2:::"});
        rig->store.putHome("Settings", "NO:30:Second/s:EU:36");
        rig->store.putHome("SNTP123", QString("YES:YES:YES:%1").arg(ntpPort));
        rig->server().start();
        QTRY_COMPARE(reference->requests, 1);
        QVERIFY(rig->server().AwaitingReply());

        // Byte 24 set: not mistaken for the answer, and not answered yet either.
        QCOMPARE(udpExchange(ntpPort, clientRequest(9), 1, 300).size(), 0);
        QVERIFY(!rig->server().TimeSynced());
        // A one-byte datagram while waiting: another server, retried after the next tick.
        udpExchange(ntpPort, "x", 1, 200);
        QCOMPARE(rig->server().schedule().SyncCounter, rig->server().schedule().SyncSeconds - 1);

        reference->release();
        QTRY_VERIFY(rig->server().TimeSynced());
        QCOMPARE(udpExchange(ntpPort, clientRequest(9), 1).size(), 1);
    }

    void hostileDatagramsAndForgedAnswers() {
        startWith({"127.0.0.1:::Loopback EU:::2:::"});
        QTRY_VERIFY(rig->server().TimeSynced());
        rig->server().SyncTimeNow(); // a query is pending again: forged answers get their chance
        reference->holding = true;
        QRandomGenerator random(7);
        QUdpSocket attacker;
        const auto spray = [&](const QByteArray& datagram) {
            attacker.writeDatagram(datagram, QHostAddress::LocalHost, ntpPort);
            QCoreApplication::processEvents();
        };
        QByteArray noise(65507, '\0');
        random.fillRange(reinterpret_cast<quint32*>(noise.data()), noise.size() / 4);
        for (int length = 0; length <= 1600; ++length) {
            spray(noise.left(length));
        }
        for (int length = 1601; length <= 65507; length += 4093) {
            spray(noise.left(length));
        }
        spray(noise.left(65507));
        for (int i = 0; i < 2000; ++i) {
            QByteArray forged = noise.mid(i * 13, 48);
            if (i % 2 == 0) { // half of them pass the three-byte test
                forged[24] = forged[27] = forged[31] = '\0';
            }
            spray(forged);
        }
        QTest::qWait(200);
        // One query, so at most one answer is taken: the clock was set twice in all.
        QCOMPARE(rig->clock.setCalls.size(), std::size_t{2});
        QVERIFY(!rig->server().AwaitingReply());
        QCOMPARE(udpExchange(ntpPort, clientRequest(9), 1).size(), 1);
    }

    void emptyPoolAsksNobody() {
        startWith({"127.0.0.1:::Loopback EU:::2:::"}, QStringLiteral("AP"));
        QTest::qWait(200);
        QCOMPARE(reference->requests, 0);
        rig->server().SyncTimeNow();
        QTest::qWait(100);
        QCOMPARE(reference->requests, 0);
    }

    void failedSendRetriesOnNextTick() {
        // The kernel refuses a datagram to port 0.
        rig = std::make_unique<test::ServerRig>();
        rig->options.referencePort = 0;
        rig->writeServerFile({"127.0.0.1:::Loopback EU:::2:::"});
        rig->store.putHome("Settings", "NO:30:Second/s:EU:36");
        rig->store.putHome("SNTP123", QString("YES:YES:YES:%1").arg(test::freePort()));
        rig->server().start();
        QCOMPARE(rig->server().schedule().SyncCounter, rig->server().schedule().SyncSeconds);
        rig->server().syncTick();
        QCOMPARE(rig->server().schedule().SyncCounter, rig->server().schedule().SyncSeconds);
    }
};

QTEST_GUILESS_MAIN(TestSynchronisation)
#include "tst_synchronisation.moc"
