// The settings store in its INI file: round trips, the failures a caller sees with the system's
// own words, a file left by an earlier release, and a write that can never leave half a file.
#include "platform/linux/ini_settings_store.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

using namespace cvl;

namespace {

std::string query(const IniSettingsStore& store, const std::string& name) {
    std::string text;
    const SettingsResult result = store.read(name, text);
    if (result.status == SettingsStatus::NotFound) {
        return "(missing)";
    }
    return result.ok() ? text : "(failed: " + result.systemText + ")";
}

// A failure as "status code words", the code and words being errno's.
std::string failure(const SettingsResult& result) {
    return std::to_string(static_cast<int>(result.status)) + ' ' +
           std::to_string(result.systemCode) + ' ' + result.systemText;
}

} // namespace

TEST(IniSettingsStore, RoundTripAndErrors) {
    test::TempFolder dir;
    const std::string path = dir.filePath("sub/settings.conf");
    {
        IniSettingsStore store(path);
        EXPECT_EQ(store.location(), path);
        EXPECT_EQ(store.keyExists().status, SettingsStatus::NotFound);
        EXPECT_TRUE(store.write("NTP37", "YES:YES:YES:37").ok());
        EXPECT_TRUE(store.write("Note", "a, b ; c").ok());
    }
    const std::string text = test::readFile(path);
    EXPECT_NE(text.find("[General]\n"), std::string::npos);
    EXPECT_NE(text.find("\nNTP37=YES:YES:YES:37\n"), std::string::npos) << "one Name=text line";

    IniSettingsStore store(path);
    EXPECT_TRUE(store.keyExists().ok());
    EXPECT_EQ(query(store, "Note"), "a, b ; c");
    EXPECT_EQ(query(store, "X"), "(missing)");
    // An INI file has no line for an empty name.
    EXPECT_EQ(store.write("/", {}).status, SettingsStatus::InvalidParameter);

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

// Sections other than [General] are what earlier releases kept for other keys: they stay as they
// are, and alone they are no saved settings.
TEST(IniSettingsStore, FilesOfEarlierReleasesKeepWorking) {
    test::TempFolder dir;
    const std::string path = dir.filePath("chronvale-server.conf");
    ASSERT_TRUE(test::writeFile(path, "[Other]\nSoftware\\X=1\n"));
    IniSettingsStore store(path);
    EXPECT_EQ(store.keyExists().status, SettingsStatus::NotFound);

    ASSERT_TRUE(test::writeFile(path, "[General]\nCVL3777=YES:YES:NO:3777\n"
                                      "Settings=\"YES:59:Minutes/s:NA:36\"\nStrictSync=YES\n"
                                      "\n[Other]\nSoftware\\X=1\n"));
    EXPECT_TRUE(store.keyExists().ok());
    EXPECT_EQ(query(store, "Settings"), "YES:59:Minutes/s:NA:36");
    EXPECT_TRUE(store.write("OpenMinimized", "NO").ok());
    EXPECT_EQ(test::readFile(path), "[General]\nCVL3777=YES:YES:NO:3777\nOpenMinimized=NO\n"
                                    "Settings=YES:59:Minutes/s:NA:36\nStrictSync=YES\n"
                                    "\n[Other]\nSoftware\\X=1\n");
}

// Root may write anywhere, so the unwritable places are ones no user can write.
TEST(IniSettingsStore, UnwritablePlacesAreDeniedInTheSystemsWordsAndTheOldFileStays) {
    test::TempFolder dir;
    const auto denied = [](int code, const char* words) {
        return failure(SettingsResult(SettingsStatus::AccessDenied, code, words));
    };
    ASSERT_TRUE(test::writeFile(dir.filePath("file"), "x"));
    IniSettingsStore blocked(dir.filePath("file/settings.conf"));
    EXPECT_EQ(failure(blocked.write("X", "1")), denied(ENOTDIR, "Not a directory"));
    EXPECT_EQ(blocked.keyExists().status, SettingsStatus::CantOpen);
    EXPECT_EQ(query(blocked, "X"), "(failed: Not a directory)");

    // A folder in the file's place: it cannot be read, and nothing replaces it.
    std::filesystem::create_directories(filePath(dir.filePath("folder.conf")));
    IniSettingsStore folder(dir.filePath("folder.conf"));
    EXPECT_EQ(failure(folder.write("X", "1")), denied(EISDIR, "Is a directory"));
    EXPECT_TRUE(std::filesystem::is_directory(filePath(dir.filePath("folder.conf"))));

    // A file the operator made read-only is refused, even to root, and left as it was.
    const std::string readOnly = dir.filePath("read-only.conf");
    ASSERT_TRUE(test::writeFile(readOnly, "[General]\nNTP37=NO:NO:NO:37\n"));
    std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
    IniSettingsStore kept(readOnly);
    EXPECT_EQ(failure(kept.write("NTP37", "YES:YES:YES:37")), denied(EACCES, "Permission denied"));
    EXPECT_EQ(test::readFile(readOnly), "[General]\nNTP37=NO:NO:NO:37\n");

    // A name the file may have but its temporary neighbour may not: the write itself fails.
    IniSettingsStore longName(dir.filePath(std::string(250, 'n')));
    EXPECT_EQ(failure(longName.write("X", "1")), denied(ENAMETOOLONG, "File name too long"));
}
