// The settings store in its INI file: round trips, the errors a caller sees, a file left by an
// earlier release, and a write that can never leave half a file.
#include "platform/linux/ini_settings_store.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

using namespace cvl;

namespace {

const std::string kHome = "Software\\Chronvale Server";

std::string query(const IniSettingsStore& store, RegistryRoot root, const std::string& key,
                  const std::string& name) {
    std::string text;
    const long code = store.queryValue(root, key, name, text);
    return code == ERROR_SUCCESS ? text : "error " + std::to_string(code);
}

} // namespace

TEST(IniSettingsStore, RoundTripAndErrors) {
    test::TempFolder dir;
    const std::string path = dir.filePath("sub/settings.conf");
    const std::string other = "Software\\Other";
    {
        IniSettingsStore store(path);
        EXPECT_EQ(store.openKey(HKEY_LOCAL_MACHINE, kHome), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(store.setValue(HKEY_LOCAL_MACHINE, kHome, "NTP37", "YES:YES:YES:37"),
                  ERROR_SUCCESS);
        EXPECT_EQ(store.setValue(HKEY_LOCAL_MACHINE, kHome, "Note", "a, b ; c"), ERROR_SUCCESS);
        EXPECT_EQ(store.setValue(HKEY_CURRENT_USER, other, "X", "1"), ERROR_SUCCESS);
    }
    const std::string text = test::readFile(path);
    EXPECT_NE(text.find("[General]\n"), std::string::npos);
    EXPECT_NE(text.find("\nNTP37=YES:YES:YES:37\n"), std::string::npos) << "one Name=text line";

    IniSettingsStore store(path);
    EXPECT_EQ(store.openKey(HKEY_LOCAL_MACHINE, "software\\chronvale server"), ERROR_SUCCESS);
    EXPECT_EQ(query(store, HKEY_LOCAL_MACHINE, kHome, "Note"), "a, b ; c");
    EXPECT_EQ(query(store, HKEY_CURRENT_USER, other, "X"), "1");
    EXPECT_EQ(store.openKey(HKEY_CURRENT_USER, other), ERROR_SUCCESS);
    EXPECT_EQ(store.openKey(HKEY_CURRENT_USER, "Software"), ERROR_FILE_NOT_FOUND); // only deeper
    EXPECT_EQ(query(store, HKEY_LOCAL_MACHINE, kHome, "X"), "error 2");
    EXPECT_EQ(store.deleteValue(HKEY_LOCAL_MACHINE, kHome, "Note"), ERROR_SUCCESS);
    EXPECT_EQ(query(store, HKEY_LOCAL_MACHINE, kHome, "Note"), "error 2");
    EXPECT_EQ(store.deleteValue(HKEY_LOCAL_MACHINE, kHome, "Note"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(store.setValue(0x1234, kHome, "X", {}), ERROR_BADKEY);
    // An INI file has no line for an empty name in the program's own key.
    EXPECT_EQ(store.setValue(HKEY_LOCAL_MACHINE, kHome, "/", {}), ERROR_INVALID_PARAMETER);

    // The usual permissions, and no temporary file left beside it.
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(info.st_mode & 0777, 0666u & ~mask);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.filePath("sub")),
                            std::filesystem::directory_iterator()),
              1);
}

TEST(IniSettingsStore, FilesOfEarlierReleasesKeepWorking) {
    test::TempFolder dir;
    const std::string path = dir.filePath("chronvale-server.conf");
    ASSERT_TRUE(test::writeFile(path, "[General]\nCVL3777=YES:YES:NO:3777\n"
                                      "Settings=\"YES:59:Minutes/s:NA:36\"\nStrictSync=YES\n"));
    IniSettingsStore store(path);
    EXPECT_EQ(query(store, HKEY_LOCAL_MACHINE, kHome, "Settings"), "YES:59:Minutes/s:NA:36");
    EXPECT_EQ(store.setValue(HKEY_LOCAL_MACHINE, kHome, "OpenMinimized", "NO"), ERROR_SUCCESS);
    EXPECT_EQ(test::readFile(path), "[General]\nCVL3777=YES:YES:NO:3777\nOpenMinimized=NO\n"
                                    "Settings=YES:59:Minutes/s:NA:36\nStrictSync=YES\n");
}

TEST(IniSettingsStore, UnwritablePlaceIsDeniedAndTheOldFileStays) {
    test::TempFolder dir;
    // Root may write anywhere, so the unwritable place is a path under a file.
    ASSERT_TRUE(test::writeFile(dir.filePath("file"), "x"));
    IniSettingsStore blocked(dir.filePath("file/settings.conf"));
    EXPECT_EQ(blocked.setValue(HKEY_LOCAL_MACHINE, kHome, "X", "1"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(blocked.openKey(HKEY_LOCAL_MACHINE, kHome), ERROR_CANTOPEN);

    // A folder in the file's place: it cannot be read, and nothing replaces it.
    std::filesystem::create_directories(filePath(dir.filePath("folder.conf")));
    IniSettingsStore folder(dir.filePath("folder.conf"));
    EXPECT_EQ(folder.setValue(HKEY_LOCAL_MACHINE, kHome, "X", "1"), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(std::filesystem::is_directory(filePath(dir.filePath("folder.conf"))));
}
