// The Time, Daytime and Unix-time services over loopback, with the clock standing at
// 2004-01-01 00:00:00 UTC: exact bytes on both transports, the gate before the clock is set,
// the log record of each answer. Clients that misbehave are the system tests' business.
#include "loopback.h"
#include "server_rig.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace cvl;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

const std::string kTimeBytes = "\xC3\x9D\xE1\x80";
const std::string kUnixBytes = "\x3F\xF3\x63\x00"s;
const std::string kDaytime = "Thursday, January 01, 2004 00:00:00-Coordinated Universal Time";

using Replies = std::vector<std::string>;

class TimeServices : public testing::Test {
protected:
    TimeServices() {
        rig.store.putHome("NTP37", "YES:YES:YES:" + std::to_string(timePort));
        rig.store.putHome("UNIX519", "YES:YES:YES:" + std::to_string(unixPort));
        rig.store.putHome("DTS13", "YES:YES:YES:" + std::to_string(daytimePort));
        rig.store.putHome("SNTP123", "NO:YES:YES:123");
        rig.store.putHome("CVL3777", "NO:YES:NO:3777");
        rig.writeServerFile();
        rig.server().start();
    }

    [[nodiscard]] std::vector<std::string> logLines() const {
        return test::readLines(rig.instance->logFilePath());
    }
    [[nodiscard]] std::size_t linesWith(const std::string& part) const {
        const std::vector<std::string> lines = logLines();
        return std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    }
    Replies udp(std::uint16_t port, const std::string& payload, std::size_t expected,
                std::chrono::milliseconds timeout = 1500ms, const std::string& host = "127.0.0.1") {
        return test::udpExchange(*rig.loop, port, payload, expected, timeout, host);
    }
    std::string tcp(std::uint16_t port, const std::string& payload = {},
                    const std::string& host = "127.0.0.1") {
        return test::tcpExchange(*rig.loop, port, payload, 1500ms, host);
    }

    test::ServerRig rig;
    std::uint16_t timePort = test::freePort(*rig.loop);
    std::uint16_t unixPort = test::freePort(*rig.loop);
    std::uint16_t daytimePort = test::freePort(*rig.loop);
};

TEST_F(TimeServices, ExactAnswersAndTheirRecords) {
    // Before the clock is set each datagram is taken in and counted, but neither answered nor
    // logged.
    for (const std::uint16_t port : {timePort, unixPort, daytimePort}) {
        EXPECT_TRUE(udp(port, "x", 1, 300ms).empty());
    }
    for (const ServiceId id : {ServiceId::Time, ServiceId::Unix, ServiceId::Daytime}) {
        EXPECT_EQ(rig.server().listeners().requests(id, Transport::Udp).value(), 1);
    }
    EXPECT_EQ(rig.server().serving().remoteHost(1).address, "127.0.0.1");
    EXPECT_TRUE(logLines().empty());

    rig.server().listeners().setTimeSynced();
    // Time: four one-byte datagrams, or the four bytes on a stream; Unix time in one write;
    // Daytime's text without a line end. Whatever a datagram holds is answered.
    const std::string huge(65507, '\xAB');
    EXPECT_EQ(udp(timePort, huge, 4), (Replies{"\xC3", "\x9D", "\xE1", "\x80"}));
    EXPECT_EQ(tcp(timePort, "garbage"), kTimeBytes);
    EXPECT_EQ(rig.server().listeners().requests(ServiceId::Time, Transport::Tcp).value(), 1);
    EXPECT_EQ(udp(unixPort, {}, 1), Replies{kUnixBytes});
    EXPECT_EQ(tcp(unixPort), kUnixBytes);
    EXPECT_EQ(tcp(daytimePort), kDaytime);
    EXPECT_EQ(udp(daytimePort, huge, 1), Replies{kDaytime});

    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 5u + 6u);
    const std::string tail = " 0 " + std::to_string(timePort) + " Time UDP - ";
    EXPECT_TRUE(lines[5].starts_with("2004-01-01 00:00:00 127.0.0.1 - CVLS5 testhost tester "
                                     "192.0.2.10 GET TIME - 0 0 4 12") &&
                lines[5].ends_with(tail))
        << lines[5];
    EXPECT_TRUE(lines[6].ends_with(" Time TCP - "));
    EXPECT_EQ(linesWith(" UnixTime "), 2u);
    EXPECT_EQ(linesWith(" DayTime "), 2u);
    // Daytime over TCP logs its note, over UDP the text: byte totals 15 and its length.
    const std::string length = std::to_string(kDaytime.size());
    EXPECT_TRUE(lines[9].find(' ' + length + " 15 0 ") != std::string::npos &&
                lines[10].find(' ' + length + ' ' + length + " 0 ") != std::string::npos);

    rig.server().setUseJulian(true);
    EXPECT_EQ(tcp(daytimePort), "\n53005 04-01-01 00:00:00 00 0 0 50.0 UTC(CVLS) *");
    // Past the last second that Unix time can count, nothing is sent.
    rig.clock.set({2038, 1, 19, 3, 14, 8});
    EXPECT_TRUE(udp(unixPort, "", 1, 300ms).empty());
}

// IPv4 and IPv6 clients reach separate sockets on the same port; both are answered and
// logged under their own address.
TEST_F(TimeServices, Ipv6ClientsAnswered) {
    rig.server().listeners().setTimeSynced();
    if (udp(timePort, "x", 4, 1500ms, "::1").size() != 4) {
        GTEST_SKIP() << "no IPv6 loopback here";
    }
    EXPECT_EQ(tcp(unixPort, {}, "::1"), kUnixBytes);
    EXPECT_EQ(tcp(unixPort), kUnixBytes);
    EXPECT_EQ(linesWith(" ::1 - CVLS5 "), 2u);
    EXPECT_EQ(linesWith(" 127.0.0.1 - CVLS5 "), 1u);
}

} // namespace
