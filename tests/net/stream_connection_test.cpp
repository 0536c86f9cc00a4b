#include "loop_waits.h"
#include "net/stream_connection.h"
#include "platform/linux/epoll_event_loop.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace cvl;
using namespace std::chrono_literals;

namespace {

// Our end of a local stream socket pair in a connection, the other end kept as the client.
struct Rig {
    Rig() {
        int fds[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds), 0);
        client = fds[1];
        EXPECT_TRUE(connection.adopt(fds[0], PeerAddress::fromIPv4(0x7F000001, 5000), 37));
        connection.onReceived = [this] {
            received += connection.takeReceived();
        };
        connection.onWritten = [this] {
            ++written;
        };
    }
    ~Rig() { ::close(client); }

    void run(std::chrono::milliseconds span = 20ms) { test::runFor(loop, span); }
    // Everything the client can read now; "|" marks the end of the stream.
    std::string drainClient() {
        std::string text;
        char buffer[65536];
        for (;;) {
            const ssize_t got = ::recv(client, buffer, sizeof buffer, 0);
            if (got <= 0) {
                return got == 0 ? text + '|' : text;
            }
            text.append(buffer, static_cast<std::size_t>(got));
        }
    }

    EpollEventLoop loop;
    StreamConnection connection{loop};
    int client = -1;
    std::string received;
    int written = 0;
};

} // namespace

TEST(StreamConnection, ArrivalsThenThePeersCloseEndIt) {
    Rig rig;
    ASSERT_EQ(::send(rig.client, "ping", 4, 0), 4);
    ::shutdown(rig.client, SHUT_WR);
    rig.run();
    EXPECT_EQ(rig.received, "ping"); // handed on before the close
    EXPECT_FALSE(rig.connection.isOpen());
    EXPECT_EQ(rig.drainClient(), "|");
}

TEST(StreamConnection, WrittenIsToldFromTheLoopAndCloseWaitsForTheRest) {
    Rig rig;
    EXPECT_EQ(rig.connection.peer().text(), "127.0.0.1");
    EXPECT_EQ(rig.connection.localPort(), 37);
    ASSERT_TRUE(rig.connection.write("pong"));
    EXPECT_EQ(rig.written, 0); // not from inside write()
    rig.run();
    EXPECT_EQ(rig.written, 1);
    EXPECT_EQ(rig.drainClient(), "pong");

    // More than the socket takes at once: the rest goes as the client reads, then the end.
    const std::string big(4 << 20, 'x');
    ASSERT_TRUE(rig.connection.write(big));
    EXPECT_GT(rig.connection.bytesToWrite(), 0u);
    rig.connection.close();
    EXPECT_TRUE(rig.connection.isOpen());
    EXPECT_FALSE(rig.connection.write("late")); // nothing after a close
    std::string got;
    for (int round = 0; round < 500 && (got.empty() || got.back() != '|'); ++round) {
        rig.run(1ms);
        got += rig.drainClient();
    }
    EXPECT_EQ(got.size(), big.size() + 1);
    EXPECT_EQ(got.back(), '|');
    EXPECT_FALSE(rig.connection.isOpen());
}

TEST(StreamConnection, AbortDropsWhatIsUnsent) {
    Rig rig;
    ASSERT_TRUE(rig.connection.write(std::string(4 << 20, 'x')));
    rig.connection.abort();
    EXPECT_FALSE(rig.connection.isOpen());
    EXPECT_FALSE(rig.connection.write("x"));
    std::string got = rig.drainClient();
    EXPECT_LT(got.size(), std::size_t{4 << 20});
}
