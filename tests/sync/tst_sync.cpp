#include "sync/clock_adjustment.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"
#include "timebase/time_base.h"

#include <QTemporaryFile>
#include <QTest>
#include <QtEndian>

using namespace cvl;

namespace {

const QByteArray header = "1\n2\r3\r\n4\n5\r";    // five lines, every kind of line end
constexpr std::uint32_t seconds2004 = 0xC39DE180; // 2004-01-01 00:00:00 UTC

ServerList readContent(const QByteArray& content) {
    QTemporaryFile file;
    if (!file.open() || file.write(content) != content.size() || !file.flush())
        qFatal("cannot write the server file");
    return readServerFile(file.fileName()).value_or(ServerList{});
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

class TstSync : public QObject {
    Q_OBJECT

private slots:
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
};

QTEST_GUILESS_MAIN(TstSync)
#include "tst_sync.moc"
