// A TCP client connection driven by the event loop: the host name is looked up and the
// connection made without blocking, arrivals are handed on as they come, and a failure (a
// refused connection, a reset) is told apart from the peer's orderly close.
#pragma once

#include "net/host_lookup.h"
#include "platform/event_loop.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace cvl {

class StreamClient final {
public:
    explicit StreamClient(EventLoop& loop);
    ~StreamClient();
    StreamClient(const StreamClient&) = delete;
    StreamClient& operator=(const StreamClient&) = delete;

    // Drops whatever the connection was doing and connects anew.
    void connectToHost(const std::string& host, std::uint16_t port);
    // Sends the bytes, or as many as fit now (requests here are small); false on failure.
    bool write(std::string_view bytes);
    // Closes the connection, or stops a lookup or connection in progress. Nothing more is told.
    void close();

    std::function<void()> onConnected;
    // Everything that had arrived when the loop looked, in one piece.
    std::function<void(const std::string& chunk)> onReceived;
    // The lookup or the connection failed, or the connection broke.
    std::function<void()> onFailed;
    // The peer closed the connection in order; it is closed here too.
    std::function<void()> onEnded;

private:
    void lookedUp(const std::vector<PeerAddress>& addresses);
    void connectionReady();
    void readable();
    void fail();

    NativeSocket descriptor_ = -1;
    std::uint64_t generation_ = 0; // counts closes, so a handler's close is noticed
    EventLoop& loop_;
    HostLookup lookup_;
    // Writable while connecting, readable once connected.
    SocketWatch watch_;
};

} // namespace cvl
