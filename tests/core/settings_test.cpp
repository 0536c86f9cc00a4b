// The saved settings' formats and the registry layer over a store.
#include "core/registry.h"
#include "core/settings_values.h"
#include "platform_fakes.h"

#include <gtest/gtest.h>

using namespace cvl;

// Well formed (four fields or more), enabled (exactly "YES"), TCP, UDP, and the port.
TEST(SettingsValues, ServiceSetting) {
    const auto parsed = [](const char* text) {
        const ServiceSetting s = parseServiceSetting(text);
        return std::to_string(s.wellFormed) + std::to_string(s.enabled) + std::to_string(s.tcp) +
               std::to_string(s.udp) + ' ' + s.port;
    };
    EXPECT_EQ(parsed("YES:YES:NO:519"), "1110 519");
    EXPECT_EQ(parsed("yes:YES:YES:37"), "1011 37");
    EXPECT_EQ(parsed("YES:YES:YES"), "0000 ");
    EXPECT_EQ(parsed("YES:YES:NO:abc"), "1110 abc");
    EXPECT_EQ(parsed("YES:NO:YES:13:extra"), "1101 13");
    EXPECT_EQ(formatServiceSetting(true, false, true, "13"), "YES:NO:YES:13");
}

TEST(SettingsValues, GeneralSetting) {
    const GeneralSetting defaults = parseGeneralSetting(kGeneralDefault);
    EXPECT_TRUE(defaults.randomCheck);
    EXPECT_EQ(defaults.syncEvery, "59");
    EXPECT_EQ(defaults.syncUnit, "Minutes/s");
    EXPECT_EQ(defaults.regionCode, "NA");
    EXPECT_EQ(defaults.ntpFirstByte, 36);
    EXPECT_EQ(formatGeneralSetting(defaults), kGeneralDefault);
    // A missing or empty last field gives the usual first byte.
    const auto firstByte = [](const char* text) {
        return int{parseGeneralSetting(text).ntpFirstByte};
    };
    EXPECT_EQ(firstByte("NO:5:Second/s:EU"), 36);
    EXPECT_EQ(firstByte("NO:5:Second/s:EU:"), 36);
    EXPECT_EQ(firstByte("NO:5:Second/s:EU:28"), 28);
    EXPECT_EQ(firstByte("NO:5:Second/s:EU:99999"), 36); // beyond 16 bits
}

TEST(Registry, ReadWriteDeleteAndErrorTexts) {
    test::MemorySettingsStore store;
    Registry registry(store);
    EXPECT_FALSE(registry.keyExists(HKEY_LOCAL_MACHINE, kSettingsKey));
    EXPECT_EQ(registry.read(kSettingsKey, "NTP37"), "");
    EXPECT_TRUE(registry.lastError().empty()); // a missing value is no failure
    EXPECT_TRUE(registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, "NTP37", "YES:YES:YES:37"));
    EXPECT_TRUE(registry.keyExists(HKEY_LOCAL_MACHINE, kSettingsKey));
    EXPECT_EQ(registry.read(kSettingsKey, "NTP37"), "YES:YES:YES:37");
    registry.remove(HKEY_LOCAL_MACHINE, kSettingsKey, "NTP37");
    EXPECT_EQ(registry.read(kSettingsKey, "NTP37"), "");

    store.failWrites = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, "X", {}));
    EXPECT_EQ(registry.lastError(), "Access to this key is denied");
    EXPECT_EQ(Registry::errorText(ERROR_BADDB), "The Registry Database is corrupt!");
    EXPECT_EQ(Registry::errorText(ERROR_MORE_DATA),
              "There is more data than the buffer has been allocated to hold.");
    EXPECT_EQ(Registry::errorText(4242), "Undefined Error Code:4242");
}

// A path splits into a root, named as it was written, and a sub-key, or into an error.
TEST(Registry, SplitPath) {
    const auto split = [](const std::string& path) {
        const Registry::SplitPath parts = Registry::splitPath(path);
        return registryRootName(parts.root) + '|' + parts.subKey + '|' + parts.error;
    };
    EXPECT_EQ(split("HKEY_LOCAL_MACHINE\\Software\\Chronvale Server"),
              "HKEY_LOCAL_MACHINE|Software\\Chronvale Server|");
    EXPECT_EQ(split("HKEY_CURRENT_USER\\Software"), "HKEY_CURRENT_USER|Software|");
    for (const std::string root :
         {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_USERS",
          "HKEY_PERFORMANCE_DATA", "HKEY_CURRENT_CONFIG", "HKEY_DYN_DATA"}) {
        EXPECT_EQ(split(root), root + "||");
    }
    EXPECT_EQ(split("Software\\X"), "||Incorrect Format:Software\\X");
    EXPECT_EQ(split("HKEY_NOWHERE\\X"), "||Bad Key Name");
}
