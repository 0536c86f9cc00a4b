// Synchronisation end to end inside one process, where the controller asks a loopback
// reference server of the test's own, takes its answer on the NTP service's socket, sets the
// (fake) clock, and from then on the NTP service answers with the reference it recorded.
#include "loopback.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "sync/time_query.h"

#include <gtest/gtest.h>

#include <random>

using namespace cvl;
using namespace std::chrono_literals;
using test::ntpRequest;

namespace {

std::string toHex(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        hex += kDigits[static_cast<unsigned char>(byte) >> 4];
        hex += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return hex;
}

// The one reference server, in region EU, is ours and announces 2004-01-01 00:00:10.25 UTC.
// Each test starts the controller once it has changed what it needs.
class Synchronisation : public testing::Test {
protected:
    Synchronisation() {
        reference.fixed = {{3281904010u, 0x40000000u}};
        rig.options.referencePort = reference.port();
        rig.writeServerFile({"127.0.0.1:::Loopback EU:::2:::"});
        rig.store.putHome("Settings", "NO:30:Second/s:EU:36");
        rig.store.putHome("SNTP123", "YES:YES:YES:" + std::to_string(ntpPort));
    }

    ServerController& server() { return rig.server(); }
    bool runUntil(const std::function<bool()>& done) { return rig.runUntil(done); }
    void startSynchronised() {
        server().start();
        ASSERT_TRUE(runUntil([this] { return server().status().synchronised(); }));
    }
    std::vector<std::string> exchange(const std::string& request,
                                      std::chrono::milliseconds timeout = 1500ms) {
        return test::udpExchange(*rig.loop, ntpPort, request, 1, timeout);
    }

    test::ServerRig rig;
    test::ReferenceResponder reference{*rig.loop};
    std::uint16_t ntpPort = test::freePort(*rig.loop);
};

TEST_F(Synchronisation, AnswerSetsClockAndReference) {
    startSynchronised();
    EXPECT_EQ(reference.requests, 1);
    ASSERT_EQ(rig.clock.setCalls.size(), 1u);
    // The fake ticks stand still: no round trip, so 00:00:10 and 250 ms exactly.
    EXPECT_EQ(rig.clock.setCalls[0], (SystemTime{2004, 1, 0, 1, 0, 0, 10, 250}));
    // The send stamp was taken at 00:00:00.000, whose fraction is never zero.
    EXPECT_EQ(server().synchroniser().query().syncMessage(),
              "Adjusted by: 10187.9716796875 ms.  CVL Server is Synchronized.");
    EXPECT_EQ(server().status().overview().syncResult,
              "Adjusted by: 10187.9716796875 ms.  CVL Server is Synchronized. (+10188.0 ms)");
    EXPECT_EQ(server().listeners().requests(ServiceId::Ntp, Transport::Udp).value(), 0);

    const std::vector<std::string> replies = exchange(ntpRequest(0));
    ASSERT_EQ(replies.size(), 1u);
    const std::string& reply = replies[0];
    ASSERT_EQ(reply.size(), 48u);
    EXPECT_EQ(toHex(reply.substr(0, 16)), "240204ef0000004f000002a17f000001");
    const auto& stamp = server().synchroniser().query().lastSyncStamp();
    EXPECT_EQ(reply.substr(16, 8), std::string(reinterpret_cast<const char*>(stamp.data()), 8));
    EXPECT_EQ(reply.substr(24, 8), ntpRequest(0).substr(40, 8)); // transmit stamp echoed
    EXPECT_EQ(toHex(reply.substr(32, 4)), "c39de180");
}

// The schedule runs on the loop's monotonic clock: an hourly interval asks again after an hour
// and not a second before, and a query left unanswered is told after five seconds. The
// clock is moved ahead, so the hour takes a moment.
TEST_F(Synchronisation, HourlyScheduleAndUnansweredNotice) {
    rig.store.putHome("Settings", "NO:1:Hour/s:EU:36");
    startSynchronised();
    ASSERT_EQ(reference.requests, 1);
    reference.holding = true;
    test::skipAhead(*rig.loop, rig.monotonic, 3599s);
    EXPECT_EQ(reference.requests, 1);
    test::skipAhead(*rig.loop, rig.monotonic, 1s);
    ASSERT_TRUE(runUntil([this] { return reference.requests == 2; }));
    const SyncState& state = server().status().sync();
    test::skipAhead(*rig.loop, rig.monotonic, 4s);
    EXPECT_TRUE(state.unansweredText.empty());
    test::skipAhead(*rig.loop, rig.monotonic, 1s);
    EXPECT_TRUE(state.unansweredText.starts_with(
        "No answer from 127.0.0.1 after 5 s; clients are still served from the last answer; "
        "next try in 359"))
        << state.unansweredText;
}

TEST_F(Synchronisation, OnlyFortyEightBytesAreServed) {
    startSynchronised();
    EXPECT_TRUE(exchange(std::string(47, '\1'), 300ms).empty());
    EXPECT_TRUE(exchange(std::string(49, '\1'), 300ms).empty());
    const std::string text = test::readFile(server().logFilePath());
    EXPECT_NE(text.find(" 0 0 0 "), std::string::npos);
    EXPECT_NE(text.find("NTPv4 UDP - \r\n"), std::string::npos);

    EXPECT_EQ(test::tcpExchange(*rig.loop, ntpPort, ntpRequest(0)).size(), 48u);
    EXPECT_EQ(test::tcpExchange(*rig.loop, ntpPort, std::string(47, '\1')).size(), 0u);
}

// While the reference holds its answer back: a request with byte 24 set is neither taken for
// the answer nor answered, and a one-byte datagram (another server's) has the query retried
// on the next tick. Any 48-byte datagram with bytes 24, 27 and 31 zero answers the pending
// query, an ordinary client's request among them; with StrictSync only the server asked does.
class HeldAnswer : public Synchronisation, public testing::WithParamInterface<bool> {};

TEST_P(HeldAnswer, OnlyTheAnswerEndsTheWait) {
    const bool strict = GetParam();
    if (strict) {
        rig.store.putHome("StrictSync", "YES");
    }
    reference.holding = true;
    server().start();
    ASSERT_TRUE(runUntil([this] { return reference.requests == 1; }));
    EXPECT_TRUE(server().synchroniser().awaitingReply());
    EXPECT_EQ(server().synchroniser().strict(), strict);

    EXPECT_TRUE(exchange(ntpRequest(9), 300ms).empty());
    EXPECT_FALSE(server().status().synchronised());
    exchange("x", 200ms);
    EXPECT_EQ(server().synchroniser().schedule().syncCounter,
              server().synchroniser().schedule().syncSeconds - 1);
    exchange(ntpRequest(0), 300ms);
    EXPECT_EQ(server().status().synchronised(), !strict);

    reference.release();
    EXPECT_TRUE(runUntil([this] { return server().status().synchronised(); }));
    EXPECT_EQ(rig.clock.setCalls.size(), 1u);
    EXPECT_EQ(exchange(ntpRequest(9)).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Synchronisation, HeldAnswer, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& info) {
                             return info.param ? "Strict" : "Default";
                         });

TEST_F(Synchronisation, HostileDatagramsAndForgedAnswers) {
    startSynchronised();
    server().synchroniser().syncNow(); // a query is pending again: forged answers get their chance
    reference.holding = true;
    DatagramSocket attacker(*rig.loop);
    ASSERT_TRUE(attacker.bind(0).open);
    int sent = 0;
    const auto spray = [&](std::string_view datagram) {
        attacker.send(datagram, test::loopbackAddress(ntpPort));
        // The server reads between sends, as it would from a real sender.
        if (++sent % 8 == 0) {
            test::runFor(*rig.loop, 1ms);
        }
    };
    std::string noise(65507, '\0');
    std::mt19937 random(7);
    for (char& byte : noise) {
        byte = static_cast<char>(random());
    }
    for (std::size_t length = 0; length <= 65507; length += length <= 1600 ? 1 : 4093) {
        spray(std::string_view(noise).substr(0, length));
    }
    spray(noise);
    for (std::size_t i = 0; i < 2000; ++i) {
        std::string forged = noise.substr(i * 13, 48);
        if (i % 2 == 0) { // half of them pass the three-byte test
            forged[24] = forged[27] = forged[31] = '\0';
        }
        spray(forged);
    }
    test::runFor(*rig.loop, 200ms);
    // One answer taken per query at most. (The one-byte datagram asks again on the next tick,
    // which a slow host reaches while the spray lasts.)
    EXPECT_GE(rig.clock.setCalls.size(), 2u);
    EXPECT_LE(rig.clock.setCalls.size(), static_cast<std::size_t>(reference.requests));
    EXPECT_FALSE(server().synchroniser().awaitingReply());
    EXPECT_EQ(exchange(ntpRequest(9)).size(), 1u);
}

TEST_F(Synchronisation, EmptyPoolAsksNobody) {
    rig.store.putHome("Settings", "NO:30:Second/s:AP:36");
    server().start();
    test::runFor(*rig.loop, 200ms);
    server().synchroniser().syncNow();
    test::runFor(*rig.loop, 100ms);
    EXPECT_EQ(reference.requests, 0);
}

TEST_F(Synchronisation, FailedSendRetriesOnNextTickAndSaysSoOnce) {
    rig.options.referencePort = 0; // the kernel refuses a datagram to port 0
    server().start();
    EXPECT_EQ(server().synchroniser().schedule().syncCounter,
              server().synchroniser().schedule().syncSeconds);
    server().synchroniser().tick();
    EXPECT_EQ(server().synchroniser().schedule().syncCounter,
              server().synchroniser().schedule().syncSeconds);
    // The operator is told once, in words that stay the same from one try to the next.
    EXPECT_TRUE(server().status().sync().queriesFailing);
    struct Counter final : StatusObserver {
        void statusChanged(StatusChange change) override {
            told += change == StatusChange::Unanswered;
        }
        int told = 0;
    } counter;
    server().status().addObserver(counter);
    server().synchroniser().tick();
    server().status().removeObserver(counter);
    EXPECT_EQ(counter.told, 0);
    EXPECT_TRUE(server().status().sync().unansweredText.starts_with(
        "The reference server could not be asked"));
}

} // namespace
