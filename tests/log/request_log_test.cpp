// The request log against a fake clock, with a temporary folder as the program folder.
#include "clock_fakes.h"
#include "log/request_log.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sstream>
#include <vector>

using namespace cvl;

namespace {

struct RequestLogTest : ::testing::Test {
    RequestLogTest() { clock.set({2026, 11, 16, 23, 59, 59}); }

    test::TempFolder dir;
    test::FakeClock clock;
};

} // namespace

TEST_F(RequestLogTest, NewFileHasHeaderThenRecords) {
    RequestLog log(clock, dir.path(), "4.1.0", {2026, 11, 16, 8, 0, 1});
    log.setIdentity("host", "user", "10.0.0.1");
    log.logRequest({{}, "192.0.2.7", 123, 48, "NTPv4", Transport::Udp});
    log.logRequest({"Monday, November 16, 2026 ", "192.0.2.8", -1, 26, "Daytime", Transport::Tcp});
    EXPECT_EQ(log.currentFilePath(), dir.path() + "/Logs/CVLS161126.LOG");
    EXPECT_EQ(test::readFile(log.currentFilePath()),
              "#Software Service: Chronvale(SM) Server\r\n#Version: 4.1.0\r\n"
              "#UPDate: " +
                  generalDateText({2026, 11, 16, 8, 0, 1}) +
                  "\r\n#Date: " + generalDateText({2026, 11, 16, 23, 59, 59}) +
                  "\r\n"
                  "#Fields: date time c-ip cs-username s-sitename s-computername s-ip cs-method "
                  "cs-uri-stem cs-uri-query sc-status sc-win32-status sc-bytes cs-bytes "
                  "time-taken s-port cs-version cs(User-Agent) cs(Cookie) cs(Referer)\r\n"
                  "2026-11-16 23:59:59 192.0.2.7 - CVLS5 host user 10.0.0.1 GET TIME - 0 0 48 "
                  "48 0 123 NTPv4 UDP - \r\n"
                  "2026-11-16 23:59:59 192.0.2.8 - CVLS5 host user 10.0.0.1 GET TIME - 0 0 26 "
                  "26 0 -1 Daytime TCP - \r\n");
}

// Either way the next record finds no file and starts one with its own header.
TEST_F(RequestLogTest, NextRecordStartsNewFile) {
    for (const bool removeLogs : {false, true}) {
        clock.set({2026, 11, 16, 23, 59, 59});
        std::filesystem::remove_all(filePath(dir.filePath("Logs")));
        RequestLog log(clock, dir.path(), "4.1.0", {});
        log.logRequest({{}, "192.0.2.7", 123, 48, "NTPv4", Transport::Udp});
        if (removeLogs) {
            std::filesystem::remove_all(filePath(dir.filePath("Logs")));
        } else {
            clock.set({2026, 11, 17, 0, 0, 0});
        }
        log.logRequest({{}, "192.0.2.7", 123, 48, "NTPv4", Transport::Udp});
        const std::vector<std::string> lines = test::readLines(
            dir.filePath(removeLogs ? "Logs/CVLS161126.LOG" : "Logs/CVLS171126.LOG"));
        ASSERT_EQ(lines.size(), 6u) << removeLogs;
        EXPECT_EQ(lines[3], "#Date: " + generalDateText(clock.localNow()));
        EXPECT_TRUE(
            lines[5].starts_with(removeLogs ? "2026-11-16 23:59:59 " : "2026-11-17 00:00:00 "));
    }
}

// The bytes item: the total given, else what was sent; an NTP packet of another size is 0.
TEST_F(RequestLogTest, ByteTotal) {
    const auto total = [this](const char* code, const char* text, int sentB, int iByteTot) {
        RequestLog log(clock, dir.path(), "4.1.0", {});
        log.setIdentity("host", "user", "10.0.0.1");
        log.logRequest({text, "192.0.2.7", 123, sentB, code, Transport::Udp, iByteTot});
        std::istringstream line(test::readLines(log.currentFilePath()).back());
        const std::vector<std::string> items{std::istream_iterator<std::string>(line), {}};
        return items.size() == 20 ? items[14] : std::string();
    };
    EXPECT_EQ(total("NTPv4", "", 0, 0), "0");
    EXPECT_EQ(total("NTPv4", "", 48, 0), "48");
    EXPECT_EQ(total("NTPv4", "", 0, 47), "47");
    EXPECT_EQ(total("NTPv4", "", 60, 47), "0");
    EXPECT_EQ(total("Daytime", "Monday, November 16, 2026 ", 26, 0), "26");
    EXPECT_EQ(total("Daytime", "Montag, 16. M\xC3\xA4rz", 0, 0), "16"); // characters, not bytes
    EXPECT_EQ(total("Time", "abc", 4, 4), "4");
}

// Root may write anywhere, so the unwritable places are paths that cannot be folders.
TEST_F(RequestLogTest, RecordIsLostSilently) {
    struct Case {
        const char* programFolder;
        const char* fileInTheWay;
        bool enabled;
    };
    int round = 0;
    for (const Case& c : {Case{"", "", false}, Case{"/server.bin", "/server.bin", true},
                          Case{"", "/Logs", true}, Case{"/gone", "", true}}) {
        test::TempFolder folder;
        if (*c.fileInTheWay != '\0') {
            ASSERT_TRUE(test::writeFile(folder.path() + c.fileInTheWay, "x"));
        }
        RequestLog log(clock, folder.path() + c.programFolder, "4.1.0", {});
        log.setEnabled(c.enabled);
        log.logRequest({{}, "192.0.2.7", 123, 48, "NTPv4", Transport::Udp});
        EXPECT_FALSE(std::filesystem::exists(filePath(log.currentFilePath()))) << round;
        EXPECT_EQ(std::filesystem::exists(filePath(folder.filePath("Logs"))),
                  std::string(c.fileInTheWay) == "/Logs")
            << round;
        ++round;
    }
}
