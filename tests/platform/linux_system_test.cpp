// The Linux services that can be checked without privileges: the autostart entry, the
// time-zone record, a clock that must refuse to be set, the launcher handing its arguments
// over word for word, and the program folder of a build tree and of an installed copy with the
// shipped server file copied into it once.
#include "platform/clock_permission.h"
#include "platform/linux/program_folder.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_launcher.h"
#include "platform/linux/system_time_zone.h"
#include "platform/linux/xdg_autostart.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <thread>

using namespace cvl;

namespace {

TEST(LinuxSystem, AutostartEntry) {
    test::TempFolder folder;
    XdgAutostart autostart(folder.path());
    EXPECT_FALSE(autostart.exists());
    EXPECT_TRUE(autostart.write("/opt/cvl/chronvale-server --data-dir /srv"));
    EXPECT_TRUE(autostart.exists());
    const std::string text = test::readFile(folder.filePath("autostart/chronvale-server.desktop"));
    EXPECT_NE(text.find("Name=Chronvale Server\n"), std::string::npos);
    EXPECT_NE(text.find("Exec=/opt/cvl/chronvale-server --data-dir /srv\n"), std::string::npos);
    EXPECT_TRUE(autostart.remove());
    EXPECT_FALSE(autostart.exists());
}

// "result bias standardBias daylightBias standardName daylightName" under each TZ. The
// fixed-rule zones: standard time all year is 5 h west; the daylight one is in standard or
// daylight time depending on the half of the year this runs in.
TEST(LinuxSystem, TimeZoneRecord) {
    const char* saved = std::getenv("TZ");
    const std::string savedZone = saved != nullptr ? saved : "";
    const auto reading = [](const char* tz) {
        ::setenv("TZ", tz, 1);
        ::tzset();
        const TimeZoneReading r = SystemTimeZone().GetTimeZoneInformation();
        return std::to_string(r.result) + ' ' + std::to_string(r.info.Bias) + ' ' +
               std::to_string(r.info.StandardBias) + ' ' + std::to_string(r.info.DaylightBias) +
               ' ' + r.info.StandardName + ' ' + r.info.DaylightName;
    };
    EXPECT_TRUE(reading("UTC").starts_with(std::to_string(TimeZoneIdUnknown) + " 0 "));
    EXPECT_TRUE(reading("EST5").starts_with(std::to_string(TimeZoneIdUnknown) + " 300 "));
    const std::string rules = reading("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_TRUE(rules == std::to_string(TimeZoneIdStandard) + " 300 0 -60 EST EDT" ||
                rules == std::to_string(TimeZoneIdDaylight) + " 300 0 -60 EST EDT")
        << rules;
    if (saved != nullptr) {
        ::setenv("TZ", savedZone.c_str(), 1);
    } else {
        ::unsetenv("TZ");
    }
    ::tzset();
}

TEST(LinuxSystem, ClockRefusesWhenStepsAreOff) {
    SystemClock clock(false);
    EXPECT_EQ(clock.setSystemTimeUtc({2004, 1, 4, 1, 0, 0, 0, 0}).outcome,
              ClockStep::Outcome::NotAllowed);
    ::setenv("CHRONVALE_NO_SET_CLOCK", "1", 1);
    EXPECT_FALSE(environmentAllowsClockStep());
    SystemClock fromEnvironment(true);
    EXPECT_EQ(fromEnvironment.setSystemTimeUtc({2004, 1, 4, 1, 0, 0, 0, 0}).outcome,
              ClockStep::Outcome::NotAllowed);
    const std::uint32_t first = clock.tickCountMs();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GE(clock.tickCountMs() - first, 15u);
}

// The updater gets its words as they were given, blanks included, and the program starts
// detached: the launcher does not wait for it.
TEST(LinuxSystem, LauncherPassesWordsWhole) {
    namespace fs = std::filesystem;
    test::TempFolder folder;
    const std::string script = folder.filePath("QBKUpdate");
    ASSERT_TRUE(test::writeFile(script, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$0.args\"\n"));
    fs::permissions(script, fs::perms::owner_read | fs::perms::owner_exec);
    SystemLauncher launcher;
    ASSERT_TRUE(launcher.start(script, {"/v4.0.9", "/tUPDATEING Chronvale Server"}));
    EXPECT_FALSE(launcher.start(folder.filePath("missing"), {}));
    for (int wait = 0; wait < 500 && test::readFile(script + ".args").empty(); ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(test::readFile(script + ".args"), "/v4.0.9\n/tUPDATEING Chronvale Server\n");
}

TEST(LinuxSystem, ProgramFolderOfBuildTreeAndInstalledCopy) {
    test::TempFolder temp;
    const std::string dataHome = temp.filePath("home/.local/share");
    const std::string buildFolder = temp.filePath("build/src/app");
    std::filesystem::create_directories(buildFolder);
    EXPECT_EQ(defaultProgramFolder(buildFolder, true, dataHome), buildFolder);

    const std::string binFolder = temp.filePath("usr/bin");
    std::filesystem::create_directories(binFolder);
    EXPECT_TRUE(installedServerFile(binFolder).starts_with(temp.filePath("usr/")));
    ASSERT_TRUE(test::writeFile(installedServerFile(binFolder), "list"));
    EXPECT_EQ(defaultProgramFolder(binFolder, true, dataHome), "/var/lib/chronvale-server");
    EXPECT_EQ(defaultProgramFolder(binFolder, false, dataHome), dataHome + "/chronvale-server");
}

TEST(LinuxSystem, ShippedServerFileCopiedOnce) {
    namespace fs = std::filesystem;
    test::TempFolder temp;
    const std::string shipped = temp.filePath("share/QBK_CVLS4.CVL");
    ASSERT_TRUE(test::writeFile(shipped, "shipped"));
    fs::permissions(shipped,
                    fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const std::string data = temp.filePath("data");
    const std::string target = data + "/QBK_CVLS4.CVL";
    fs::create_directories(data);

    EXPECT_FALSE(provideServerFile(data, temp.filePath("missing")));
    EXPECT_FALSE(fs::exists(target));
    EXPECT_TRUE(provideServerFile(data, shipped));
    EXPECT_EQ(test::readFile(target), "shipped");
    EXPECT_NE(fs::status(target).permissions() & fs::perms::owner_write, fs::perms::none);
    // A file already there (downloaded since) is kept.
    ASSERT_TRUE(test::writeFile(target, "downloaded"));
    EXPECT_TRUE(provideServerFile(data, shipped));
    EXPECT_EQ(test::readFile(target), "downloaded");
}

} // namespace
