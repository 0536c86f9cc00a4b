// The Linux adapters that can be checked without privileges: the INI settings store, the
// autostart entry, the time-zone record and a clock that must refuse to be set.
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_time_zone.h"
#include "platform/linux/xdg_autostart.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <cstdlib>
#include <ctime>

using namespace cvl;

namespace {

const QString kHome = QStringLiteral("Software\\Chronvale Server");

TimeZoneReading zoneReading(const char* tz) {
    qputenv("TZ", tz);
    tzset();
    return SystemTimeZone().GetTimeZoneInformation();
}

} // namespace

class TestPlatform : public QObject {
    Q_OBJECT
private slots:
    void iniStoreRoundTrip() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("sub/settings.conf"));
        {
            IniSettingsStore store(path);
            QCOMPARE(store.openKey(HKEY_LOCAL_MACHINE, kHome), long{ERROR_FILE_NOT_FOUND});
            QCOMPARE(store.setValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("NTP37"),
                                    QStringLiteral("YES:YES:YES:37")),
                     long{ERROR_SUCCESS});
            QCOMPARE(store.setValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("Note"),
                                    QStringLiteral("a, b ; c")),
                     long{ERROR_SUCCESS});
            QCOMPARE(store.setValue(HKEY_CURRENT_USER, QStringLiteral("Software\\Other"),
                                    QStringLiteral("X"), QStringLiteral("1")),
                     long{ERROR_SUCCESS});
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY2(file.readAll().contains("NTP37=YES:YES:YES:37"), "one Name=text line a value");

        IniSettingsStore store(path);
        QString text;
        QCOMPARE(store.openKey(HKEY_LOCAL_MACHINE, kHome), long{ERROR_SUCCESS});
        QCOMPARE(store.queryValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("Note"), text),
                 long{ERROR_SUCCESS});
        QCOMPARE(text, QStringLiteral("a, b ; c"));
        QCOMPARE(store.queryValue(HKEY_CURRENT_USER, QStringLiteral("Software\\Other"),
                                  QStringLiteral("X"), text),
                 long{ERROR_SUCCESS});
        QCOMPARE(store.queryValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("X"), text),
                 long{ERROR_FILE_NOT_FOUND});
        QCOMPARE(store.deleteValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("Note")),
                 long{ERROR_SUCCESS});
        QCOMPARE(store.queryValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("Note"), text),
                 long{ERROR_FILE_NOT_FOUND});
        QCOMPARE(store.setValue(0x1234, kHome, QStringLiteral("X"), {}), long{ERROR_BADKEY});
        // An INI file has no line for an empty name in the program's own key.
        QCOMPARE(store.setValue(HKEY_LOCAL_MACHINE, kHome, QStringLiteral("/"), {}),
                 long{ERROR_INVALID_PARAMETER});
    }

    void autostartEntry() {
        QTemporaryDir dir;
        XdgAutostart autostart(dir.path());
        QVERIFY(!autostart.exists());
        QVERIFY(autostart.write(QStringLiteral("/opt/cvl/chronvale-server --data-dir /srv")));
        QVERIFY(autostart.exists());
        QFile entry(dir.filePath(QStringLiteral("autostart/chronvale-server.desktop")));
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QByteArray text = entry.readAll();
        QVERIFY(text.contains("Name=Chronvale Server\n"));
        QVERIFY(text.contains("Exec=/opt/cvl/chronvale-server --data-dir /srv\n"));
        QVERIFY(autostart.remove());
        QVERIFY(!autostart.exists());
    }

    void timeZoneRecord() {
        const QByteArray saved = qgetenv("TZ");
        const TimeZoneReading utc = zoneReading("UTC");
        QCOMPARE(utc.result, std::uint32_t{TimeZoneIdUnknown});
        QCOMPARE(utc.info.Bias, 0);

        // Fixed-rule zones: standard time all year is 5 h west; the daylight one is always in
        // daylight time, so whichever half of the year this runs in, the reading is known.
        const TimeZoneReading est = zoneReading("EST5");
        QCOMPARE(est.info.Bias, 300);
        QCOMPARE(est.result, std::uint32_t{TimeZoneIdUnknown});

        const TimeZoneReading rules = zoneReading("EST5EDT,M3.2.0,M11.1.0");
        QCOMPARE(rules.info.Bias, 300);
        QCOMPARE(rules.info.DaylightBias, -60);
        QCOMPARE(rules.info.StandardBias, 0);
        QCOMPARE(rules.info.StandardName, QStringLiteral("EST"));
        QCOMPARE(rules.info.DaylightName, QStringLiteral("EDT"));
        QVERIFY(rules.result == TimeZoneIdStandard || rules.result == TimeZoneIdDaylight);

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
