// The saved settings' formats and the access to them over a store.
#include "core/settings_access.h"
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

// Reads and writes through a store, and the status line's texts for its failures: a missing
// value is none, and a code the program has no name for keeps its number.
TEST(SettingsAccess, ReadWriteAndFailureTexts) {
    test::MemorySettingsStore store;
    SettingsAccess access(store);
    EXPECT_FALSE(access.keyExists());
    EXPECT_EQ(access.read("NTP37"), "");
    EXPECT_TRUE(access.lastError().empty());
    EXPECT_TRUE(access.write("NTP37", "YES:YES:YES:37"));
    EXPECT_TRUE(access.keyExists());
    EXPECT_EQ(access.read("NTP37"), "YES:YES:YES:37");

    store.failWrites = SettingsResult(SettingsStatus::AccessDenied, 13, "Permission denied");
    EXPECT_FALSE(access.write("X", {}));
    EXPECT_EQ(access.lastError(), "Access to this key is denied");
    EXPECT_EQ(access.lastSystemText(), "Permission denied");
    EXPECT_EQ(access.read("NTP37"), "YES:YES:YES:37");
    EXPECT_EQ(access.lastError() + access.lastSystemText(), ""); // the next success clears it

    EXPECT_EQ(statusLineText(SettingsResult(SettingsStatus::Corrupt)),
              "The Registry Database is corrupt!");
    EXPECT_EQ(statusLineText(SettingsResult(SettingsStatus::MoreData)),
              "There is more data than the buffer has been allocated to hold.");
    EXPECT_EQ(statusLineText(SettingsResult(SettingsStatus::Other, 4242, "x")),
              "Undefined Error Code:4242");
}
