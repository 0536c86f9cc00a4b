// The settings texts: the registry module, the value formats and the number parsing that
// port boxes and saved fields go through.
#include "core/leading_number.h"
#include "core/registry.h"
#include "core/settings_values.h"
#include "memory_settings_store.h"

#include <QTest>

using namespace cvl;

class TestSettings : public QObject {
    Q_OBJECT
private slots:
    void leadingNumber_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("int16"); // -99999 marks an overflow
        QTest::newRow("trailing letters") << "37abc" << 37;
        QTest::newRow("letters only") << "abc" << 0;
        QTest::newRow("blanks ignored") << " 3 7" << 37;
        QTest::newRow("half to even down") << "2.5" << 2;
        QTest::newRow("half to even up") << "3.5" << 4;
        QTest::newRow("negative") << "-5" << -5;
        QTest::newRow("overflow") << "40000" << -99999;
        QTest::newRow("exponent") << "1e3x" << 1000;
    }
    void leadingNumber() {
        QFETCH(QString, text);
        QFETCH(int, int16);
        const auto value = roundToInt16(cvl::leadingNumber(text));
        QCOMPARE(value.has_value() ? int{*value} : -99999, int16);
    }

    void serviceSetting_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("wellFormed");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("tcp");
        QTest::addColumn<bool>("udp");
        QTest::addColumn<QString>("port");
        QTest::newRow("udp off") << "YES:YES:NO:519" << true << true << true << false << "519";
        QTest::newRow("lower-case yes")
            << "yes:YES:YES:37" << true << false << true << true << "37";
        QTest::newRow("three fields") << "YES:YES:YES" << false << false << false << false << "";
        QTest::newRow("letters as port")
            << "YES:YES:NO:abc" << true << true << true << false << "abc";
    }
    void serviceSetting() {
        QFETCH(QString, text);
        const ServiceSetting setting = parseServiceSetting(text);
        QTEST(setting.wellFormed, "wellFormed");
        QTEST(setting.enabled, "enabled");
        QTEST(setting.tcp, "tcp");
        QTEST(setting.udp, "udp");
        QTEST(setting.port, "port");
    }

    void generalSetting() {
        const GeneralSetting defaults = parseGeneralSetting(kGeneralDefault);
        QVERIFY(defaults.randomCheck);
        QCOMPARE(defaults.syncEvery, QStringLiteral("59"));
        QCOMPARE(defaults.syncUnit, QStringLiteral("Minutes/s"));
        QCOMPARE(defaults.regionCode, QStringLiteral("NA"));
        QCOMPARE(defaults.ntpFirstByte, std::int16_t{36});
        QCOMPARE(formatGeneralSetting(defaults), kGeneralDefault);
        // A missing or empty last field gives the usual first byte.
        QCOMPARE(parseGeneralSetting(QStringLiteral("NO:5:Second/s:EU")).ntpFirstByte,
                 std::int16_t{36});
        QCOMPARE(parseGeneralSetting(QStringLiteral("NO:5:Second/s:EU:")).ntpFirstByte,
                 std::int16_t{36});
        QCOMPARE(parseGeneralSetting(QStringLiteral("NO:5:Second/s:EU:28")).ntpFirstByte,
                 std::int16_t{28});
    }

    void registryReadWriteDelete() {
        test::MemorySettingsStore store;
        Registry registry(store);
        QVERIFY(!registry.keyExists(HKEY_LOCAL_MACHINE, kSettingsKey));
        QCOMPARE(registry.read(kSettingsKey, QStringLiteral("NTP37")), QString());
        QVERIFY(registry.lastError().isEmpty()); // a missing value is no failure
        QVERIFY(registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, QStringLiteral("NTP37"),
                               QStringLiteral("YES:YES:YES:37")));
        QVERIFY(registry.keyExists(HKEY_LOCAL_MACHINE, kSettingsKey));
        QCOMPARE(registry.read(kSettingsKey, QStringLiteral("NTP37")),
                 QStringLiteral("YES:YES:YES:37"));
        registry.remove(HKEY_LOCAL_MACHINE, kSettingsKey, QStringLiteral("NTP37"));
        QCOMPARE(registry.read(kSettingsKey, QStringLiteral("NTP37")), QString());

        store.failWrites = ERROR_ACCESS_DENIED;
        QVERIFY(!registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, QStringLiteral("X"), {}));
        QCOMPARE(registry.lastError(), QStringLiteral("Access to this key is denied"));
    }

    void splitPath_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<uint>("root");
        QTest::addColumn<QString>("subKey");
        QTest::addColumn<QString>("error");
        QTest::newRow("machine") << "HKEY_LOCAL_MACHINE\\Software\\Chronvale Server"
                                 << uint{HKEY_LOCAL_MACHINE} << "Software\\Chronvale Server"
                                 << "";
        QTest::newRow("user") << "HKEY_CURRENT_USER\\Software" << uint{HKEY_CURRENT_USER}
                              << "Software"
                              << "";
        QTest::newRow("dyn data, no sub-key") << "HKEY_DYN_DATA" << uint{HKEY_DYN_DATA} << ""
                                              << "";
        QTest::newRow("no prefix") << "Software\\X" << 0u << ""
                                   << "Incorrect Format:Software\\X";
        QTest::newRow("unknown root") << "HKEY_NOWHERE\\X" << 0u << ""
                                      << "Bad Key Name";
    }
    void splitPath() {
        QFETCH(QString, path);
        const Registry::SplitPath split = Registry::splitPath(path);
        QTEST(uint{split.root}, "root");
        QTEST(split.subKey, "subKey");
        QTEST(split.error, "error");
    }

    void rootNamesAndErrorTexts() {
        const QStringList names{"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER",     "HKEY_LOCAL_MACHINE",
                                "HKEY_USERS",        "HKEY_PERFORMANCE_DATA", "HKEY_CURRENT_CONFIG",
                                "HKEY_DYN_DATA"};
        for (const QString& name : names) {
            QCOMPARE(registryRootName(registryRootFromName(name)), name);
        }
        QCOMPARE(registryRootFromName(QStringLiteral("HKEY_LOCAL_MACHINE")), 2147483650u);
        QCOMPARE(Registry::errorText(ERROR_BADDB),
                 QStringLiteral("The Registry Database is corrupt!"));
        QCOMPARE(Registry::errorText(ERROR_MORE_DATA),
                 QStringLiteral("There is more data than the buffer has been allocated to hold."));
        QCOMPARE(Registry::errorText(4242), QStringLiteral("Undefined Error Code:4242"));
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
