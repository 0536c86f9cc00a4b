// The settings store on the real registry (wine's, in the test run's own prefix): values go
// in and out as written, and the failures are the registry's own refusals, in its words.
#include "core/settings_access.h"
#include "platform/windows/registry_key.h"
#include "platform/windows/registry_settings_store.h"
#include "platform/windows/run_key_autostart.h"
#include "platform/windows/system_error_text.h"

#include "registry_lock.h"

#include <gtest/gtest.h>

using namespace cvl;

TEST(WindowsRegistry, ValuesAndRealFailures) {
    EXPECT_EQ(RegistrySettingsStore().location(), "HKEY_LOCAL_MACHINE\\Software\\Chronvale Server");
    const std::string key = "Software\\Chronvale Server Test";
    RegistrySettingsStore store(key);
    SettingsAccess access(store);

    ASSERT_TRUE(access.write("NTP37", "YES:YES:NO:37"));
    EXPECT_EQ(access.read("NTP37"), "YES:YES:NO:37");
    EXPECT_TRUE(access.keyExists());
    EXPECT_EQ(store.valueNames(), std::vector<std::string>{"NTP37"});

    // Longer than the read buffer: read as nothing, with the registry's own complaint.
    ASSERT_TRUE(access.write("Long", std::string(RegistrySettingsStore::kReadBufferBytes, 'x')));
    EXPECT_EQ(access.read("Long"), "");
    EXPECT_EQ(access.lastError(), "There is more data than the buffer has been allocated to hold.");
    EXPECT_EQ(access.lastSystemText(), systemErrorText(ERROR_MORE_DATA));

    // Missing keys and values are no error.
    RegistrySettingsStore missing(key + "\\Missing");
    SettingsAccess missingAccess(missing);
    EXPECT_FALSE(missingAccess.keyExists());
    EXPECT_EQ(missingAccess.lastError(), "");
    EXPECT_EQ(access.read("Nothing"), "");
    EXPECT_EQ(access.lastError(), "");

    // A result the program has no name for keeps its code.
    const SettingsResult other = settingsResultOf(ERROR_BAD_PATHNAME);
    EXPECT_EQ(statusLineText(other), "Undefined Error Code:" + std::to_string(ERROR_BAD_PATHNAME));
    EXPECT_EQ(other.systemText, systemErrorText(ERROR_BAD_PATHNAME));
}

// A key the registry's access list closes: the registry's own refusal and its texts.
TEST(WindowsRegistry, AccessDenied) {
    const std::string key = "Software\\Chronvale Server Test\\Locked";
    RegistrySettingsStore store(key);
    SettingsAccess access(store);
    ASSERT_TRUE(access.write("NTP37", "YES:YES:NO:37"));
    ASSERT_TRUE(test::lockRegistryKey(key, true));

    EXPECT_EQ(access.read("NTP37"), "");
    EXPECT_EQ(access.lastError(), "Access to this key is denied");
    EXPECT_FALSE(access.write("NTP37", "x"));
    EXPECT_EQ(access.lastError(), "Access to this key is denied");
    EXPECT_EQ(access.lastSystemText(), systemErrorText(ERROR_ACCESS_DENIED));

    ASSERT_TRUE(test::lockRegistryKey(key, false));
    EXPECT_EQ(access.read("NTP37"), "YES:YES:NO:37");
}

// Starting with Windows is the Run key's value "Chronvale Server", holding the command.
TEST(WindowsRegistry, RunKeyEntry) {
    RunKeyAutostart autostart;
    const std::string runKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
    const std::string command = "C:\\Program Files\\Chronvale\\QBK_CVL_Server.exe";
    const auto entry = [&runKey](std::string& text) {
        return RegistryKey(runKey, KEY_QUERY_VALUE).readText("Chronvale Server", text, 1024);
    };
    ASSERT_TRUE(autostart.write(command));
    EXPECT_TRUE(autostart.exists());
    std::string text;
    EXPECT_EQ(entry(text), ERROR_SUCCESS);
    EXPECT_EQ(text, command);
    // One longer than the read buffer does not read as the entry, as no setting would.
    ASSERT_TRUE(autostart.write(std::string(2000, 'c')));
    EXPECT_FALSE(autostart.exists());
    ASSERT_TRUE(autostart.remove());
    EXPECT_FALSE(autostart.exists());
    EXPECT_EQ(entry(text), ERROR_FILE_NOT_FOUND);
}
