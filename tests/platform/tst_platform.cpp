// The Linux adapters that can be checked without privileges: the autostart entry, the time-zone
// record and a clock that must refuse to be set.
#include "platform/linux/system_clock.h"
#include "platform/linux/system_time_zone.h"
#include "platform/linux/xdg_autostart.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

using namespace cvl;

class TestPlatform : public QObject {
    Q_OBJECT
private slots:
    void autostartEntry() {
        QTemporaryDir dir;
        XdgAutostart autostart(dir.path().toStdString());
        QVERIFY(!autostart.exists());
        QVERIFY(autostart.write("/opt/cvl/chronvale-server --data-dir /srv"));
        QVERIFY(autostart.exists());
        QFile entry(dir.filePath(QStringLiteral("autostart/chronvale-server.desktop")));
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QByteArray text = entry.readAll();
        QVERIFY(text.contains("Name=Chronvale Server\n"));
        QVERIFY(text.contains("Exec=/opt/cvl/chronvale-server --data-dir /srv\n"));
        QVERIFY(autostart.remove());
        QVERIFY(!autostart.exists());
    }

    // "result bias standardBias daylightBias standardName daylightName" under each TZ. The
    // fixed-rule zones: standard time all year is 5 h west; the daylight one is in standard or
    // daylight time depending on the half of the year this runs in.
    void timeZoneRecord() {
        const QByteArray saved = qgetenv("TZ");
        const auto reading = [](const char* tz) {
            qputenv("TZ", tz);
            tzset();
            const TimeZoneReading r = SystemTimeZone().GetTimeZoneInformation();
            return QStringLiteral("%1 %2 %3 %4 %5 %6")
                .arg(r.result)
                .arg(r.info.Bias)
                .arg(r.info.StandardBias)
                .arg(r.info.DaylightBias)
                .arg(QString::fromStdString(r.info.StandardName),
                     QString::fromStdString(r.info.DaylightName));
        };
        QVERIFY(reading("UTC").startsWith(QString("%1 0 ").arg(TimeZoneIdUnknown)));
        QVERIFY(reading("EST5").startsWith(QString("%1 300 ").arg(TimeZoneIdUnknown)));
        const QString rules = reading("EST5EDT,M3.2.0,M11.1.0");
        QVERIFY2(rules == QString("%1 300 0 -60 EST EDT").arg(TimeZoneIdStandard) ||
                     rules == QString("%1 300 0 -60 EST EDT").arg(TimeZoneIdDaylight),
                 qPrintable(rules));
        qputenv("TZ", saved);
        tzset();
    }

    void clockRefusesWhenStepsAreOff() {
        SystemClock clock(false);
        QVERIFY(!clock.setSystemTimeUtc({2004, 1, 4, 1, 0, 0, 0, 0}));
        qputenv("CHRONVALE_NO_SET_CLOCK", "1");
        QVERIFY(!environmentAllowsClockStep());
        SystemClock fromEnvironment(true);
        QVERIFY(!fromEnvironment.setSystemTimeUtc({2004, 1, 4, 1, 0, 0, 0, 0}));
        const std::uint32_t first = clock.tickCountMs();
        QTest::qWait(20);
        QVERIFY(clock.tickCountMs() - first >= 15);
    }
};

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
