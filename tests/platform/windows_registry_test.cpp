// The settings store on the real registry (wine's, in the test run's own prefix): values go
// in and out as written, and the error texts come from the registry's own failures.
#include "core/registry.h"
#include "platform/windows/registry_settings_store.h"
#include "platform/windows/run_key_autostart.h"

#include "registry_lock.h"

#include <gtest/gtest.h>

using namespace cvl;

TEST(WindowsRegistry, ValuesAndRealFailures) {
    RegistrySettingsStore store;
    Registry registry(store);
    const std::string key = "Software\\Chronvale Server Test";

    ASSERT_TRUE(registry.write(HKEY_LOCAL_MACHINE, key, "NTP37", "YES:YES:NO:37"));
    EXPECT_EQ(registry.read(key, "NTP37"), "YES:YES:NO:37");
    EXPECT_TRUE(registry.keyExists(HKEY_LOCAL_MACHINE, key));
    EXPECT_EQ(store.valueNames(HKEY_LOCAL_MACHINE, key), std::vector<std::string>{"NTP37"});

    // Longer than the read buffer: read as nothing, with the registry's own complaint.
    ASSERT_TRUE(registry.write(HKEY_LOCAL_MACHINE, key, "Long",
                               std::string(RegistrySettingsStore::kReadBufferBytes, 'x')));
    EXPECT_EQ(registry.read(key, "Long"), "");
    EXPECT_EQ(registry.lastError(),
              "There is more data than the buffer has been allocated to hold.");

    // Missing keys and values are no error; a handle that is no root is one.
    EXPECT_FALSE(registry.keyExists(HKEY_LOCAL_MACHINE, key + "\\Missing"));
    EXPECT_EQ(registry.lastError(), "");
    EXPECT_EQ(registry.remove(HKEY_LOCAL_MACHINE, key, "NTP37"), ERROR_SUCCESS);
    EXPECT_EQ(registry.read(key, "NTP37"), "");
    EXPECT_EQ(registry.lastError(), "");
    EXPECT_FALSE(registry.write(0x80000009u, key, "NTP37", "x"));
    EXPECT_TRUE(registry.lastError().starts_with("Undefined Error Code:")) << registry.lastError();
}

// A key the registry's access list closes: the registry's own refusal and its text.
TEST(WindowsRegistry, AccessDenied) {
    RegistrySettingsStore store;
    Registry registry(store);
    const std::string key = "Software\\Chronvale Server Test\\Locked";
    ASSERT_TRUE(registry.write(HKEY_LOCAL_MACHINE, key, "NTP37", "YES:YES:NO:37"));
    ASSERT_TRUE(test::lockRegistryKey(key, true));

    EXPECT_EQ(registry.read(key, "NTP37"), "");
    EXPECT_EQ(registry.lastError(), "Access to this key is denied");
    EXPECT_FALSE(registry.write(HKEY_LOCAL_MACHINE, key, "NTP37", "x"));
    EXPECT_EQ(registry.lastError(), "Access to this key is denied");

    ASSERT_TRUE(test::lockRegistryKey(key, false));
    EXPECT_EQ(registry.read(key, "NTP37"), "YES:YES:NO:37");
    EXPECT_EQ(registry.remove(HKEY_LOCAL_MACHINE, key, "NTP37"), ERROR_SUCCESS);
}

// Starting with Windows is the Run key's value "Chronvale Server", holding the command.
TEST(WindowsRegistry, RunKeyEntry) {
    RegistrySettingsStore store;
    RunKeyAutostart autostart(store);
    const std::string runKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
    const std::string command = "C:\\Program Files\\Chronvale\\QBK_CVL_Server.exe";
    ASSERT_TRUE(autostart.write(command));
    EXPECT_TRUE(autostart.exists());
    std::string text;
    EXPECT_EQ(store.queryValue(HKEY_LOCAL_MACHINE, runKey, "Chronvale Server", text),
              ERROR_SUCCESS);
    EXPECT_EQ(text, command);
    ASSERT_TRUE(autostart.remove());
    EXPECT_FALSE(autostart.exists());
    EXPECT_EQ(store.queryValue(HKEY_LOCAL_MACHINE, runKey, "Chronvale Server", text),
              ERROR_FILE_NOT_FOUND);
}
