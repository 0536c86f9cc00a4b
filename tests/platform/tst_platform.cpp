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
#include <unistd.h>

using namespace cvl;

const QString kHome = QStringLiteral("Software\\Chronvale Server");

class TestPlatform : public QObject {
    Q_OBJECT
private slots:
    void iniStoreRoundTrip() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("sub/settings.conf"));
        const QString other = QStringLiteral("Software\\Other");
        {
            IniSettingsStore store(path);
            QCOMPARE(store.openKey(HKEY_LOCAL_MACHINE, kHome), long{ERROR_FILE_NOT_FOUND});
            QCOMPARE(store.setValue(HKEY_LOCAL_MACHINE, kHome, "NTP37", "YES:YES:YES:37"),
                     long{ERROR_SUCCESS});
            QCOMPARE(store.setValue(HKEY_LOCAL_MACHINE, kHome, "Note", "a, b ; c"),
                     long{ERROR_SUCCESS});
            QCOMPARE(store.setValue(HKEY_CURRENT_USER, other, "X", "1"), long{ERROR_SUCCESS});
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY2(file.readAll().contains("NTP37=YES:YES:YES:37"), "one Name=text line a value");

        IniSettingsStore store(path);
        const auto query = [&](RegistryRoot root, const QString& key, const QString& name) {
            QString text;
            const long code = store.queryValue(root, key, name, text);
            return code == ERROR_SUCCESS ? text : QStringLiteral("error %1").arg(code);
        };
        QCOMPARE(store.openKey(HKEY_LOCAL_MACHINE, kHome), long{ERROR_SUCCESS});
        QCOMPARE(query(HKEY_LOCAL_MACHINE, kHome, "Note"), QStringLiteral("a, b ; c"));
        QCOMPARE(query(HKEY_CURRENT_USER, other, "X"), QStringLiteral("1"));
        QCOMPARE(query(HKEY_LOCAL_MACHINE, kHome, "X"), QStringLiteral("error 2"));
        QCOMPARE(store.deleteValue(HKEY_LOCAL_MACHINE, kHome, "Note"), long{ERROR_SUCCESS});
        QCOMPARE(query(HKEY_LOCAL_MACHINE, kHome, "Note"), QStringLiteral("error 2"));
        QCOMPARE(store.setValue(0x1234, kHome, "X", {}), long{ERROR_BADKEY});
        // An INI file has no line for an empty name in the program's own key.
        QCOMPARE(store.setValue(HKEY_LOCAL_MACHINE, kHome, "/", {}), long{ERROR_INVALID_PARAMETER});
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
