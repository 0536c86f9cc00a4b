#include "loop_waits.h"
#include "platform/linux/epoll_event_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace cvl;
using namespace std::chrono_literals;

namespace {

// A connected pair of local stream sockets, closed at the end.
struct SocketPair {
    SocketPair() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds), 0); }
    ~SocketPair() {
        ::close(fds[0]);
        ::close(fds[1]);
    }
    int fds[2] = {-1, -1};
};

} // namespace

TEST(EventLoop, TimersFireInDeadlineOrderOnceOrRepeatedly) {
    EpollEventLoop loop;
    ASSERT_TRUE(loop.isValid());
    std::string fired;
    Timer late(loop, [&] { fired += 'L'; });
    late.setSingleShot(true);
    Timer early(loop, [&] { fired += 'E'; });
    early.setSingleShot(true);
    Timer repeating(loop, [&] { fired += 'r'; });
    Timer stopped(loop, [&] { fired += 'S'; });
    late.start(40ms);
    early.start(10ms);
    repeating.start(15ms);
    stopped.start(5ms);
    stopped.stop();
    ASSERT_TRUE(test::runUntil(loop, [&] { return fired.find('L') != std::string::npos; }));
    EXPECT_EQ(fired.substr(0, 2), "Er");
    EXPECT_GE(std::count(fired.begin(), fired.end(), 'r'), 2);
    EXPECT_EQ(fired.find('S'), std::string::npos);
    EXPECT_FALSE(late.isActive());
    EXPECT_TRUE(repeating.isActive());
}

TEST(EventLoop, HandlersMayStopRestartAndDestroyTimers) {
    EpollEventLoop loop;
    int restarts = 0;
    auto victim = std::make_unique<Timer>(loop, [] { ADD_FAILURE() << "a stopped timer fired"; });
    Timer self(loop, [&] { ++restarts < 3 ? self.start(1ms) : void(); });
    self.setSingleShot(true);
    // Due in the same pass as the victim: destroys it first.
    Timer killer(loop, [&] { victim.reset(); });
    killer.setSingleShot(true);
    killer.start(5ms);
    victim->start(6ms);
    self.start(1ms);
    ASSERT_TRUE(test::runUntil(loop, [&] { return restarts == 3 && !victim; }));
    std::this_thread::sleep_for(10ms);
    loop.dispatchReady();
}

TEST(EventLoop, WatchesReportReadinessUntilPausedOrGone) {
    EpollEventLoop loop;
    SocketPair pair;
    // What the reader saw, a byte at a time; "." for the end of the stream.
    std::string received;
    SocketWatch reader;
    ASSERT_TRUE(reader.start(loop, pair.fds[0], EventLoop::Readable, [&](unsigned ready) {
        EXPECT_EQ(ready, unsigned{EventLoop::Readable});
        char byte = 0;
        if (::read(pair.fds[0], &byte, 1) == 1) {
            received += byte; // one at a time: the rest is reported again
        } else {
            received += '.';
            reader.reset();
        }
    }));
    ASSERT_EQ(::write(pair.fds[1], "ab", 2), 2);
    ASSERT_TRUE(test::runUntil(loop, [&] { return received.size() == 2; }));

    unsigned writable = 0;
    SocketWatch writer;
    ASSERT_TRUE(writer.start(loop, pair.fds[1], EventLoop::Writable, [&](unsigned ready) {
        writable = ready;
        writer.setInterest(0);
    }));
    reader.setInterest(0);
    ASSERT_EQ(::write(pair.fds[1], "c", 1), 1);
    ASSERT_TRUE(test::runUntil(loop, [&] { return writable != 0; }));
    EXPECT_EQ(writable, unsigned{EventLoop::Writable});
    EXPECT_EQ(received, "ab"); // paused

    // The end of the stream is reported as readable, after what was left.
    reader.setInterest(EventLoop::Readable);
    ::shutdown(pair.fds[1], SHUT_WR);
    ASSERT_TRUE(test::runUntil(loop, [&] { return !reader.isWatching(); }));
    EXPECT_EQ(received, "abc.");

    // A socket that cannot be watched is refused, not half-watched.
    SocketWatch closed;
    EXPECT_FALSE(closed.start(loop, -1, EventLoop::Readable, [](unsigned) {}));
    EXPECT_FALSE(closed.isWatching());
}

TEST(EventLoop, AHandlerMayUnwatchAnotherReadyInTheSamePass) {
    EpollEventLoop loop;
    SocketPair first;
    SocketPair second;
    int calls = 0;
    SocketWatch a;
    SocketWatch b;
    const auto handler = [&](unsigned) {
        ++calls;
        a.reset();
        b.reset();
    };
    ASSERT_TRUE(a.start(loop, first.fds[0], EventLoop::Readable, handler));
    ASSERT_TRUE(b.start(loop, second.fds[0], EventLoop::Readable, handler));
    ASSERT_EQ(::write(first.fds[1], "x", 1), 1);
    ASSERT_EQ(::write(second.fds[1], "x", 1), 1);
    loop.dispatchReady();
    EXPECT_EQ(calls, 1);
}

TEST(EventLoop, PostsFromOtherThreadsRunOnTheLoopInOrder) {
    EpollEventLoop loop;
    std::vector<int> seen;
    const std::thread::id loopThread = std::this_thread::get_id();
    std::thread poster([&] {
        for (int i = 0; i < 100; ++i) {
            loop.post([&, i] {
                EXPECT_EQ(std::this_thread::get_id(), loopThread);
                seen.push_back(i);
            });
        }
        loop.quit();
    });
    loop.run(); // ends by the other thread's quit
    poster.join();
    loop.dispatchReady();
    ASSERT_EQ(seen.size(), 100u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}
