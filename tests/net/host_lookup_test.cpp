#include "loop_waits.h"
#include "net/host_lookup.h"

#include <gtest/gtest.h>

using namespace cvl;
using namespace std::chrono_literals;

TEST(HostLookup, LiteralsAtOnceNamesLaterOnTheLoop) {
    const std::unique_ptr<EventLoop> ownLoop = makeEventLoop();
    EventLoop& loop = *ownLoop;
    HostLookup lookup(loop);
    std::vector<std::string> answers;
    const auto record = [&](const std::vector<PeerAddress>& found) {
        answers.push_back(found.empty() ? "none" : found.front().text());
    };
    lookup.start("192.0.2.1", 123, record);
    EXPECT_EQ(answers, std::vector<std::string>{"192.0.2.1"});
    EXPECT_FALSE(lookup.isRunning());

    // "localhost" needs no name server; a name under .invalid never resolves.
    lookup.start("localhost", 123, record);
    EXPECT_TRUE(lookup.isRunning());
    EXPECT_EQ(answers.size(), 1u);
    ASSERT_TRUE(test::runUntil(loop, [&] { return answers.size() == 2; }));
    EXPECT_TRUE(answers[1] == "127.0.0.1" || answers[1] == "::1") << answers[1];
    lookup.start("no-such-host.invalid", 123, record);
    ASSERT_TRUE(test::runUntil(loop, [&] { return answers.size() == 3; }));
    EXPECT_EQ(answers[2], "none");
}

TEST(HostLookup, ANewerLookupOrTheLookupsEndDropsTheAnswer) {
    const std::unique_ptr<EventLoop> ownLoop = makeEventLoop();
    EventLoop& loop = *ownLoop;
    int stale = 0;
    int fresh = 0;
    {
        HostLookup lookup(loop);
        lookup.start("localhost", 1, [&](const std::vector<PeerAddress>&) { ++stale; });
        lookup.start("localhost", 2, [&](const std::vector<PeerAddress>&) { ++fresh; });
        ASSERT_TRUE(test::runUntil(loop, [&] { return fresh == 1; }));
        lookup.start("localhost", 3, [&](const std::vector<PeerAddress>&) { ++stale; });
        lookup.cancel();
        lookup.start("localhost", 4, [&](const std::vector<PeerAddress>&) { ++stale; });
    }                          // gone before its answer
    test::runFor(loop, 200ms); // time enough for any stray answer
    EXPECT_EQ(stale, 0);
    EXPECT_EQ(fresh, 1);
}
