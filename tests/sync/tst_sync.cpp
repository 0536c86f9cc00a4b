// Synchronisation end to end inside one process, where the controller asks a
// loopback reference server of the test's own, takes its answer on the NTP service's socket,
// sets the (fake) clock, and from then on the NTP service answers with the reference it
// recorded.
#include "loopback.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "sync/time_query.h"

#include <QSignalSpy>
#include <QtEndian>

using namespace cvl;
using test::ntpRequest;
using test::udpExchange;

class TestSync : public QObject {
    Q_OBJECT

    std::unique_ptr<test::ServerRig> rig;
    std::unique_ptr<test::ReferenceResponder> reference;
    quint16 ntpPort = 0;

    CVL_Server& server() { return rig->server(); }

private slots:
    // The one reference server, in region EU, is ours and announces 2004-01-01 00:00:10.25
    // UTC. Each test starts the controller once it has changed what it needs.
    void init() {
        rig = std::make_unique<test::ServerRig>();
        reference = std::make_unique<test::ReferenceResponder>();
        reference->fixed = {{3281904010u, 0x40000000u}};
        rig->options.referencePort = reference->port();
        ntpPort = test::freePort();
        rig->writeServerFile({"127.0.0.1:::Loopback EU:::2:::"});
        rig->store.putHome("Settings", "NO:30:Second/s:EU:36");
        rig->store.putHome("SNTP123", QString("YES:YES:YES:%1").arg(ntpPort));
    }
    void cleanup() {
        rig.reset();
        reference.reset();
    }

    void answerSetsClockAndReference() {
        server().start();
        QTRY_VERIFY(server().TimeSynced());
        QCOMPARE(reference->requests, 1);
        QCOMPARE(rig->clock.setCalls.size(), std::size_t{1});
        // The fake ticks stand still: no round trip, so 00:00:10 and 250 ms exactly.
        QCOMPARE(rig->clock.setCalls[0], (SystemTime{2004, 1, 0, 1, 0, 0, 10, 250}));
        // The send stamp was taken at 00:00:00.000, whose fraction is never zero.
        QCOMPARE(server().timeQuery().SyncMessage(),
                 std::string("Adjusted by: 10187.9716796875 ms.  CVL Server is Synchronized."));
        QCOMPARE(server().TipText().size(), std::size_t{64});
        QCOMPARE(server().listeners().udpRequests(ServiceId::Ntp).value(), 0);

        const QByteArray reply = udpExchange(ntpPort, ntpRequest(0), 1).value(0);
        QCOMPARE(reply.size(), 48);
        QCOMPARE(reply.left(16).toHex(), QByteArray("240204ef0000004f000002a17f000001"));
        QCOMPARE(reply.mid(16, 8), QByteArray(reinterpret_cast<const char*>(
                                                  server().timeQuery().LastSyncStamp().data()),
                                              8));
        QCOMPARE(reply.mid(24, 8), ntpRequest(0).mid(40, 8)); // transmit stamp echoed
        QCOMPARE(reply.mid(32, 4).toHex(), QByteArray("c39de180"));
        QCOMPARE(udpExchange(ntpPort, ntpRequest(9), 1).value(0).mid(24, 8),
                 ntpRequest(9).mid(24, 8));
    }

    void onlyFortyEightBytesAreServed() {
        server().start();
        QTRY_VERIFY(server().TimeSynced());
        QCOMPARE(udpExchange(ntpPort, QByteArray(47, '\1'), 1, 300).size(), 0);
        QCOMPARE(udpExchange(ntpPort, QByteArray(49, '\1'), 1, 300).size(), 0);
        const QByteArray text = test::readFile(server().logFilePath());
        QVERIFY(text.contains(" 0 0 0 "));
        QVERIFY(text.contains("NTPv4 UDP - \r\n"));

        QCOMPARE(test::tcpExchange(ntpPort, ntpRequest(0)).size(), 48);
        QCOMPARE(test::tcpExchange(ntpPort, QByteArray(47, '\1')).size(), 0);
    }

    void nothingServedBeforeTheAnswer() {
        reference->holding = true;
        server().start();
        QTRY_COMPARE(reference->requests, 1);
        QVERIFY(server().AwaitingReply());

        // Byte 24 set: not mistaken for the answer, and not answered yet either.
        QCOMPARE(udpExchange(ntpPort, ntpRequest(9), 1, 300).size(), 0);
        QVERIFY(!server().TimeSynced());
        // A one-byte datagram while waiting: another server, retried after the next tick.
        udpExchange(ntpPort, "x", 1, 200);
        QCOMPARE(server().schedule().SyncCounter, server().schedule().SyncSeconds - 1);

        reference->release();
        QTRY_VERIFY(server().TimeSynced());
        QCOMPARE(udpExchange(ntpPort, ntpRequest(9), 1).size(), 1);
    }

    // Any 48-byte datagram with bytes 24, 27 and 31 zero answers a pending query, an ordinary
    // client's request among them; with StrictSync only the server asked does.
    void clientRequestTakenForTheAnswerUnlessStrict_data() {
        QTest::addColumn<QString>("strictSync");
        QTest::newRow("default") << QString();
        QTest::newRow("strict") << QStringLiteral("YES");
    }
    void clientRequestTakenForTheAnswerUnlessStrict() {
        QFETCH(QString, strictSync);
        if (!strictSync.isEmpty()) {
            rig->store.putHome("StrictSync", strictSync);
        }
        reference->holding = true;
        server().start();
        QTRY_COMPARE(reference->requests, 1);
        QCOMPARE(server().strictSync(), !strictSync.isEmpty());

        udpExchange(ntpPort, ntpRequest(0), 1, 300);
        QCOMPARE(server().TimeSynced(), strictSync.isEmpty());
        reference->release();
        QTRY_VERIFY(server().TimeSynced());
        QCOMPARE(rig->clock.setCalls.size(), std::size_t{1});
    }

    void hostileDatagramsAndForgedAnswers() {
        server().start();
        QTRY_VERIFY(server().TimeSynced());
        server().SyncTimeNow(); // a query is pending again: forged answers get their chance
        reference->holding = true;
        QUdpSocket attacker;
        const auto spray = [&](const QByteArray& datagram) {
            attacker.writeDatagram(datagram, QHostAddress::LocalHost, ntpPort);
            QCoreApplication::processEvents();
        };
        QByteArray noise(65507, '\0');
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(noise.data()), noise.size() / 4);
        for (int length = 0; length <= 65507; length += length <= 1600 ? 1 : 4093) {
            spray(noise.left(length));
        }
        spray(noise);
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
        QVERIFY(!server().AwaitingReply());
        QCOMPARE(udpExchange(ntpPort, ntpRequest(9), 1).size(), 1);
    }

    void emptyPoolAsksNobody() {
        rig->store.putHome("Settings", "NO:30:Second/s:AP:36");
        server().start();
        QTest::qWait(200);
        server().SyncTimeNow();
        QTest::qWait(100);
        QCOMPARE(reference->requests, 0);
    }

    void failedSendRetriesOnNextTick() {
        rig->options.referencePort = 0; // the kernel refuses a datagram to port 0
        server().start();
        QCOMPARE(server().schedule().SyncCounter, server().schedule().SyncSeconds);
        server().syncTick();
        QCOMPARE(server().schedule().SyncCounter, server().schedule().SyncSeconds);
        // The operator is told once, in words that stay the same from one try to the next.
        QVERIFY(server().queriesFailing());
        QSignalSpy told(&server(), &CVL_Server::unansweredChanged);
        server().syncTick();
        QCOMPARE(told.count(), 0);
        QVERIFY(server().unansweredText().startsWith("The reference server could not be asked"));
    }
};

QTEST_GUILESS_MAIN(TestSync)
#include "tst_sync.moc"
