#include "sync/clock_adjustment.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"
#include "timebase/time_base.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace cvl;

namespace {

const QByteArray header = "title\r\nformat\r\nregions\r\nversion\r\nfifth\r\n";
constexpr std::uint32_t seconds2004 = 0xC39DE180; // 2004-01-01 00:00:00 UTC

ServerList readContent(const QByteArray& content) {
    const QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("QBK_CVLS4.CVL")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write the server file");
    }
    file.close();
    return readServerFile(file.fileName()).value_or(ServerList{});
}

} // namespace

class TstSync : public QObject {
    Q_OBJECT

private slots:
    void serverFile_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("list"); // entries/image ; hosts 1..3
        QTest::newRow("header only") << header << " ; ||";
        QTest::newRow("empty host taken, malformed line leaves a hole, image not a number")
            << header + ":::A NA:::5:::\r\nb:::B NA:::1\r\nc:::C NA:::x:::\r\n"
            << "A NA/5 C NA/2 ; ||c";
        QTest::newRow("LF and CR line ends, halves to even, extra separators")
            << QByteArray("1\n2\r3\r\n4\n5\ra:::A:::3.5:::s:::t\rb:::B:::2.5:::\nc:::C:::0:::")
            << "A/4 B/2 C/0 ; a|b|c";
        QTest::newRow("empty line ends the list")
            << header + "a:::A NA:::0:::\r\r\nb:::B NA:::1:::\r\n"
            << "A NA/0 ; a||";
    }
    void serverFile() {
        QFETCH(QByteArray, content);
        const ServerList list = readContent(content);
        QStringList entries;
        for (const ServerEntry& entry : list.entries) {
            entries << entry.text + u'/' + QString::number(entry.image);
        }
        const auto& hosts = list.ServerHosts;
        QTEST(entries.join(u' ') + " ; " + QStringList({hosts[1], hosts[2], hosts[3]}).join(u'|'),
              "list");
    }

    // Line 306 would be host 301: its entry reaches the box, then reading stops.
    void serverFileStopsAfterHost300() {
        const ServerList list =
            readContent(header + QByteArray(10'000'000, 'x') + ":::Big NA:::0:::\r\n" +
                        QByteArray("h:::S NA:::2:::\r\n").repeated(100'000));
        QCOMPARE(list.count(), 301);
        QCOMPARE(list.ServerHosts[1].size(), 10'000'000);
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

    void interval_data() {
        QTest::addColumn<QString>("syncN");
        QTest::addColumn<QString>("unit");
        QTest::addColumn<int>("seconds"); // 7: left as it was
        QTest::addColumn<bool>("restart");
        QTest::newRow("minutes") << "59"
                                 << "Minutes/s" << 3540 << false;
        QTest::newRow("days") << "2"
                              << "Day/s" << 172800 << false;
        QTest::newRow("no unit counts days, halves to even") << "2.5"
                                                             << "" << 172800 << false;
        QTest::newRow("lower-case sec counts days") << "1"
                                                    << "sec" << 86400 << false;
        QTest::newRow("seconds restart the timer") << "30abc"
                                                   << "Sec" << 30 << true;
        QTest::newRow("past 32 bits") << "24856"
                                      << "Day/s" << 7 << false;
    }
    void interval() {
        SyncSchedule schedule;
        schedule.SyncSeconds = 7;
        QFETCH(QString, syncN);
        QFETCH(QString, unit);
        QTEST(schedule.CalcIntC(syncN, unit), "restart");
        QTEST(int(schedule.SyncSeconds), "seconds");
    }

    void ticksAndTyping() {
        SyncSchedule schedule;
        QVERIFY(schedule.tick()); // interval 0: every tick
        schedule.SyncSeconds = 2;
        QVERIFY(!schedule.tick());
        QVERIFY(schedule.tick());
        schedule.retrySoon();
        QVERIFY(schedule.tick());
        schedule.SyncSeconds = std::numeric_limits<std::int32_t>::max();
        schedule.retryOnNextTick();
        QVERIFY(schedule.tick());
        QCOMPARE(SyncSchedule::keepNumeric("59ab"), "59a");
        QCOMPARE(SyncSchedule::keepNumeric("1.5"), "1.5");
        schedule.CalcRandR(QList<ServerEntry>(400, {"S AP", 21}), "AP");
        QCOMPARE(schedule.PoolCount, 300);
    }

    void pick_data() {
        QTest::addColumn<QString>("region");
        QTest::addColumn<double>("r");
        QTest::addColumn<int>("position"); // of "A EU", "B NA", "C EU", "D EU", "E eu"; -1: none
        for (const double r : {0.0, 0.5, 0.999}) {
            QTest::addRow("lone server, r %g", r) << "NA" << r << 2;
        }
        QTest::newRow("1.5 to even") << "EU" << 0.25 << 3;
        QTest::newRow("2.5 to even") << "EU" << 0.75 << 3;
        QTest::newRow("empty region") << "AF" << 0.0 << -1;
    }
    void pick() {
        SyncSchedule schedule;
        QFETCH(QString, region);
        schedule.CalcRandR({{"A EU", 8}, {"B NA", 0}, {"C EU", 9}, {"D EU", 2}, {"E eu", 2}},
                           region);
        QFETCH(double, r);
        QTEST(schedule.GrabRandom(r).value_or(-1), "position");
    }

    void decimals_data() {
        QTest::addColumn<double>("ms");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("part");
        QTest::newRow("two decimals") << 3281904000123.45 << "3281904000123.45" << 123;
        QTest::newRow("one decimal, 999.5 to even") << 3281904000999.5 << "3281904000999.5" << 1000;
        QTest::newRow("tiny") << -0.0000152587890625 << "-0.0000152587890625" << 890625;
        QTest::newRow("large") << 1e14 << "100000000000000" << 0;
    }
    void decimals() {
        QFETCH(double, ms);
        QTEST(decimalText(ms), "text");
        QTEST(millisecondsPart(ms), "part");
    }

    void clockSetting_data() {
        QTest::addColumn<uint>("seconds");
        QTest::addColumn<uint>("fraction");
        QTest::addColumn<int>("roundTripMs");
        QTest::addColumn<QString>("utc");
        QTest::newRow("1.5 ms to even") << seconds2004 << 0u << 3 << "2004-01-01 00:00:00.002 0";
        QTest::newRow("half a second")
            << seconds2004 << (1u << 31) << 0 << "2004-01-01 00:00:00.500 0";
        QTest::newRow("odd second and a half")
            << seconds2004 - 1 << (1u << 31) << 4 << "2004-01-01 00:00:00.502 0";
    }
    void clockSetting() {
        QFETCH(uint, seconds);
        QFETCH(uint, fraction);
        NtpTimestamp answer{};
        qToBigEndian(quint32(seconds), answer.data());
        qToBigEndian(quint32(fraction), answer.data() + 4);
        QFETCH(int, roundTripMs);
        const SystemTime t = clockSettingFor(GoMilli(answer.data()), roundTripMs).utc;
        QTEST(QString::asprintf("%d-%02d-%02d %02d:%02d:%02d.%03d %d", t.year, t.month, t.day,
                                t.hour, t.minute, t.second, t.milliseconds, t.dayOfWeek),
              "utc");
    }

    void texts() {
        const QString message = adjustedMessage(-12.5);
        QCOMPARE(message, "Adjusted by: -12.5 ms.  CVL Server is Synchronized.");
        const QString field = tipText(message);
        QCOMPARE(field, message + QChar(0) + QString(64 - message.size() - 1, u' '));
        QCOMPARE(visibleTip(field), message);
        QCOMPARE(tipText(QString(70, u'x')), QString(64, u'x'));
        const ClockSetting setting = clockSettingFor(seconds2004 * 1000.0 + 43262500, 0);
        QCOMPARE(setting.dayNumber, 37987.5 + 62.5 / 86400);
        QVERIFY(syncToolTip(setting, message).endsWith(" 12:1:2.500 | " + message));
    }
};

QTEST_GUILESS_MAIN(TstSync)
#include "tst_sync.moc"
