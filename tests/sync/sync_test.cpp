// The server file, the schedule and the choice of server, the clock arithmetic and texts.
#include "sync/clock_adjustment.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"
#include "timebase/time_base.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <sstream>

using namespace cvl;

namespace {

const std::string header = "1\n2\r3\r\n4\n5\r";   // five lines, every kind of line end
constexpr std::uint32_t seconds2004 = 0xC39DE180; // 2004-01-01 00:00:00 UTC

ServerList readContent(const std::string& content) {
    std::istringstream file(content);
    return readServerFile(file);
}

// "text/image ..." of the entries, then hosts 1..3.
std::string listed(const std::string& content) {
    const ServerList list = readContent(content);
    std::string text;
    for (const ServerEntry& entry : list.entries) {
        text += (text.empty() ? "" : " ") + entry.text + '/' + std::to_string(entry.image);
    }
    const auto& hosts = list.ServerHosts;
    return text + " ; " + hosts[1] + '|' + hosts[2] + '|' + hosts[3];
}

} // namespace

TEST(ServerFile, LinesAsEveryReleaseReadThem) {
    EXPECT_EQ(listed(header), " ; ||");
    // Empty host taken, a malformed line leaves a hole, an image that is no number is 2.
    EXPECT_EQ(listed(header + ":::A NA:::2.5:::\r\nb:::B NA:::1\r\nc:::C NA:::x:::s:::t\r\n"),
              "A NA/2 C NA/2 ; ||c");
    EXPECT_EQ(listed(header + "a:::A NA:::0:::\r\r\nb:::B NA:::1:::\r\n"), "A NA/0 ; a||");
    // UTF-8 stays, anything else is Latin-1.
    EXPECT_EQ(listed(header + "a:::Z\xC3\xBCrich EU:::1:::\nb:::Z\xFCrich EU:::1:::\n"),
              "Z\xC3\xBCrich EU/1 Z\xC3\xBCrich EU/1 ; a|b|");
    // Line 306 would be host 301: its entry reaches the box, then reading stops.
    std::string many;
    for (int i = 0; i < 400; ++i) {
        many += "h:::S NA:::2:::\r\n";
    }
    const ServerList list =
        readContent(header + std::string(200'000, 'x') + ":::Big NA:::0:::\n" + many);
    EXPECT_EQ(list.count(), 301);
    EXPECT_EQ(list.ServerHosts[1].size(), 200'000u);
    EXPECT_EQ(list.ServerHosts[300], "h");
}

TEST(ServerFile, TheShippedOneHasEveryRegionAndNoHoles) {
    const std::string path = CHRONVALE_SHIPPED_SERVER_FILE;
    EXPECT_FALSE(readServerFile(path + ".missing"));
    const std::optional<ServerList> list = readServerFile(path);
    ASSERT_TRUE(list);
    std::vector<std::string> regions{"NA", "SA", "EU", "AF", "AW", "AE", "AP"};
    for (int i = 0; i < list->count(); ++i) {
        const ServerEntry& entry = list->entries[static_cast<std::size_t>(i)];
        EXPECT_TRUE(entry.image >= 0 && entry.image <= 23) << entry.text;
        EXPECT_FALSE(list->ServerHosts[static_cast<std::size_t>(i) + 1].empty()) << entry.text;
        std::erase(regions, entry.text.substr(entry.text.size() - 2));
    }
    EXPECT_TRUE(regions.empty());
}

TEST(SyncSchedule, IntervalsTicksAndTheIntervalBox) {
    // The seconds, 7 when left as they were, and whether the timer restarts.
    const auto calc = [](const char* syncN, const char* unit) {
        SyncSchedule s{.syncSeconds = 7};
        const bool restart = s.setInterval(syncN, unit);
        return std::to_string(s.syncSeconds) + (restart ? " restart" : "");
    };
    EXPECT_EQ(calc("59", "Minutes/s"), "3540");
    EXPECT_EQ(calc("2.5", ""), "172800"); // days, halved to even
    EXPECT_EQ(calc("1", "sec"), "86400");
    EXPECT_EQ(calc("30abc", "Sec"), "30 restart");
    EXPECT_EQ(calc("24856", "Day/s"), "7"); // past 32 bits

    SyncSchedule schedule;
    EXPECT_TRUE(schedule.tick()); // interval 0: every tick
    schedule.syncSeconds = 2;
    EXPECT_FALSE(schedule.tick());
    EXPECT_TRUE(schedule.tick());
    schedule.syncSeconds = schedule.syncCounter = std::numeric_limits<std::int32_t>::max();
    EXPECT_TRUE(schedule.tick()); // no wrap
    EXPECT_EQ(SyncSchedule::keepNumeric("59ab"), "59a");
    EXPECT_EQ(SyncSchedule::keepNumeric("59\xC3\xA9"), "59"); // a whole character goes
    EXPECT_EQ(SyncSchedule::keepNumeric("1.5"), "1.5");
}

TEST(SyncSchedule, RandomPickFromTheRegion) {
    const auto pick = [](const char* region, double r) {
        SyncSchedule s;
        s.drawPool({{"A EU"}, {"B NA"}, {"C EU"}, {"D EU"}, {"E eu"}}, region);
        return s.pick(r).value_or(-1);
    };
    EXPECT_EQ(pick("NA", 0.999), 2); // a lone server whatever r
    EXPECT_EQ(pick("EU", 0.25), 3);  // 1.5 and 2.5 both round to the middle one
    EXPECT_EQ(pick("EU", 0.75), 3);
    EXPECT_EQ(pick("AF", 0.0), -1);
    SyncSchedule schedule;
    schedule.drawPool(std::vector<ServerEntry>(400, {"S AP"}), "AP");
    EXPECT_EQ(schedule.poolCount, 300);
}

TEST(ClockAdjustment, SettingAndTexts) {
    const auto utc = [](std::uint32_t seconds, std::uint32_t fraction, int roundTripMs) {
        NtpTimestamp answer{};
        for (int i = 0; i < 4; ++i) {
            answer[static_cast<std::size_t>(i)] =
                static_cast<std::uint8_t>(seconds >> (24 - 8 * i));
            answer[static_cast<std::size_t>(i) + 4] =
                static_cast<std::uint8_t>(fraction >> (24 - 8 * i));
        }
        const SystemTime t = clockSettingFor(GoMilli(answer.data()), roundTripMs).utc;
        char text[64];
        std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d.%03d", t.year, t.month, t.day,
                      t.hour, t.minute, t.second, t.milliseconds);
        return std::string(text);
    };
    EXPECT_EQ(utc(seconds2004, 0, 3), "2004-01-01 00:00:00.002"); // 1.5 ms to even
    // Half a second: the odd whole second rounds to even, 500 + 2.5 ms to even as well.
    EXPECT_EQ(utc(seconds2004 - 1, 1u << 31, 5), "2004-01-01 00:00:00.502");
    EXPECT_EQ(millisecondsPart(3281904000999.5), 1000); // "0999.5" to even
    EXPECT_EQ(decimalText(-0.0000152587890625), "-0.0000152587890625");
    EXPECT_EQ(decimalText(3281904010250), "3281904010250");
    EXPECT_EQ(decimalText(1.0 / 3), "0.333333333333333");
    EXPECT_EQ(decimalText(123456.5), "123456.5");

    const std::string message = adjustedMessage(-12.5);
    EXPECT_EQ(message, "Adjusted by: -12.5 ms.  CVL Server is Synchronized.");
    const std::string field = tipText(message);
    EXPECT_EQ(field, message + '\0' + std::string(64 - message.size() - 1, ' '));
    EXPECT_EQ(visibleTip(field), message);
    EXPECT_EQ(tipText(std::string(70, 'x')), std::string(64, 'x'));
    const ClockSetting setting = clockSettingFor(seconds2004 * 1000.0 + 43262500, 0);
    EXPECT_TRUE(syncToolTip(setting, message).ends_with(" 12:1:2.500 | " + message));
}
