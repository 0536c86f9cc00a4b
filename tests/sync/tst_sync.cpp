// Synchronisation: the server file, the schedule and the choice of server, the clock
// arithmetic and texts; and end to end inside one process, where the controller asks a
// loopback reference server of the test's own, takes its answer on the NTP service's socket,
// sets the (fake) clock, and from then on the NTP service answers with the reference it
// recorded.
#include "loopback.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "sync/clock_adjustment.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"
#include "sync/time_query.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QtEndian>

using namespace cvl;
using test::ntpRequest;
using test::udpExchange;

namespace {

const QByteArray header = "1\n2\r3\r\n4\n5\r";    // five lines, every kind of line end
constexpr std::uint32_t seconds2004 = 0xC39DE180; // 2004-01-01 00:00:00 UTC

ServerList readContent(QByteArray content) {
    QBuffer file(&content);
    file.open(QIODevice::ReadOnly);
    return readServerFile(file);
}

// "text/image ..." of the entries, then hosts 1..3.
QString listed(const QByteArray& content) {
    const ServerList list = readContent(content);
    QStringList entries;
    for (const ServerEntry& entry : list.entries)
        entries << entry.text + u'/' + QString::number(entry.image);
    const auto& hosts = list.ServerHosts;
    return entries.join(u' ') + " ; " + QStringList({hosts[1], hosts[2], hosts[3]}).join(u'|');
}

} // namespace

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

    void serverFile() {
        QCOMPARE(listed(header), " ; ||");
        // Empty host taken, a malformed line leaves a hole, an image that is no number is 2.
        QCOMPARE(listed(header + ":::A NA:::2.5:::\r\nb:::B NA:::1\r\nc:::C NA:::x:::s:::t\r\n"),
                 "A NA/2 C NA/2 ; ||c");
        QCOMPARE(listed(header + "a:::A NA:::0:::\r\r\nb:::B NA:::1:::\r\n"), "A NA/0 ; a||");
        // Line 306 would be host 301: its entry reaches the box, then reading stops.
        const ServerList list =
            readContent(header + QByteArray(200'000, 'x') + ":::Big NA:::0:::\n" +
                        QByteArray("h:::S NA:::2:::\r\n").repeated(400));
        QCOMPARE(list.count(), 301);
        QCOMPARE(list.ServerHosts[1].size(), 200'000);
        QCOMPARE(list.ServerHosts[300], "h");
    }

    void shippedServerFile() {
        const QString path = QStringLiteral(CHRONVALE_SHIPPED_SERVER_FILE);
        QVERIFY(!readServerFile(path + ".missing"));
        const std::optional<ServerList> list = readServerFile(path);
        QVERIFY(list);
        QStringList regions{"NA", "SA", "EU", "AF", "AW", "AE", "AP"};
        for (int i = 0; i < list->count(); ++i) {
            const ServerEntry& entry = list->entries[i];
            QVERIFY2(entry.image >= 0 && entry.image <= 23, qPrintable(entry.text));
            QVERIFY2(!list->ServerHosts[i + 1].isEmpty(), qPrintable(entry.text)); // no holes
            regions.removeAll(entry.text.right(2));
        }
        QVERIFY2(regions.isEmpty(), qPrintable(regions.join(u' ')));
    }

    void schedule() {
        // The seconds, 7 when left as they were, and whether the timer restarts.
        const auto calc = [](const char* syncN, const char* unit) {
            SyncSchedule s{.SyncSeconds = 7};
            const bool restart = s.CalcIntC(syncN, unit);
            return QString::number(s.SyncSeconds) + (restart ? " restart" : "");
        };
        QCOMPARE(calc("59", "Minutes/s"), "3540");
        QCOMPARE(calc("2.5", ""), "172800"); // days, halved to even
        QCOMPARE(calc("1", "sec"), "86400");
        QCOMPARE(calc("30abc", "Sec"), "30 restart");
        QCOMPARE(calc("24856", "Day/s"), "7"); // past 32 bits

        SyncSchedule schedule;
        QVERIFY(schedule.tick()); // interval 0: every tick
        schedule.SyncSeconds = 2;
        QVERIFY(!schedule.tick());
        QVERIFY(schedule.tick());
        schedule.SyncSeconds = schedule.SyncCounter = std::numeric_limits<std::int32_t>::max();
        QVERIFY(schedule.tick()); // no wrap
        QCOMPARE(SyncSchedule::keepNumeric("59ab"), "59a");
        QCOMPARE(SyncSchedule::keepNumeric("1.5"), "1.5");
    }

    void pick() {
        const auto pick = [](const char* region, double r) {
            SyncSchedule s;
            s.CalcRandR({{"A EU"}, {"B NA"}, {"C EU"}, {"D EU"}, {"E eu"}}, region);
            return s.GrabRandom(r).value_or(-1);
        };
        QCOMPARE(pick("NA", 0.999), 2); // a lone server whatever r
        QCOMPARE(pick("EU", 0.25), 3);  // 1.5 and 2.5 both round to the middle one
        QCOMPARE(pick("EU", 0.75), 3);
        QCOMPARE(pick("AF", 0.0), -1);
        SyncSchedule schedule;
        schedule.CalcRandR(QList<ServerEntry>(400, {"S AP"}), "AP");
        QCOMPARE(schedule.PoolCount, 300);
    }

    void clockSettingAndTexts() {
        const auto utc = [](std::uint32_t seconds, std::uint32_t fraction, int roundTripMs) {
            NtpTimestamp answer{};
            qToBigEndian(seconds, answer.data());
            qToBigEndian(fraction, answer.data() + 4);
            const SystemTime t = clockSettingFor(GoMilli(answer.data()), roundTripMs).utc;
            return QString::asprintf("%d-%02d-%02d %02d:%02d:%02d.%03d", t.year, t.month, t.day,
                                     t.hour, t.minute, t.second, t.milliseconds);
        };
        QCOMPARE(utc(seconds2004, 0, 3), "2004-01-01 00:00:00.002"); // 1.5 ms to even
        // Half a second: the odd whole second rounds to even, 500 + 2.5 ms to even as well.
        QCOMPARE(utc(seconds2004 - 1, 1u << 31, 5), "2004-01-01 00:00:00.502");
        QCOMPARE(millisecondsPart(3281904000999.5), 1000); // "0999.5" to even
        QCOMPARE(decimalText(-0.0000152587890625), "-0.0000152587890625");

        const QString message = adjustedMessage(-12.5);
        QCOMPARE(message, "Adjusted by: -12.5 ms.  CVL Server is Synchronized.");
        const QString field = tipText(message);
        QCOMPARE(field, message + QChar(0) + QString(64 - message.size() - 1, u' '));
        QCOMPARE(visibleTip(field), message);
        QCOMPARE(tipText(QString(70, u'x')), QString(64, u'x'));
        const ClockSetting setting = clockSettingFor(seconds2004 * 1000.0 + 43262500, 0);
        QVERIFY(syncToolTip(setting, message).endsWith(" 12:1:2.500 | " + message));
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
                 QStringLiteral("Adjusted by: 10187.9716796875 ms.  CVL Server is Synchronized."));
        QCOMPARE(server().TipText().size(), 64);
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
