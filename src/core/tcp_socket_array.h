// One service's TCP sockets: element 0 listens, elements 1 and up carry accepted connections.
// Connections are created on demand and never destroyed; a closed one is reused for the next
// client, so the array only grows to the most simultaneous clients seen.
#pragma once

#include "net/stream_connection.h"
#include "net/stream_listener.h"
#include "platform/event_loop.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace cvl {

// Connections that stay quiet longer than this are closed, so that clients which connect and
// never send cannot use up the descriptors.
inline constexpr std::chrono::milliseconds kIdleConnectionLimit{30000};

class TcpSocketArray final {
public:
    explicit TcpSocketArray(EventLoop& loop,
                            std::chrono::milliseconds idleLimit = kIdleConnectionLimit);

    [[nodiscard]] StreamListener& listener() { return listener_; }
    [[nodiscard]] const StreamListener& listener() const { return listener_; }

    // Index of a closed connection, loading a new element when none is free.
    [[nodiscard]] int freeIndex();
    [[nodiscard]] StreamConnection& at(int index) { return *connections_[index - 1]; }
    // Highest element index in use (0 while only the listener exists).
    [[nodiscard]] int upperBound() const { return static_cast<int>(connections_.size()); }
    // A connection was accepted on element `index`: its idle time starts now.
    void accepted(int index);

    // Data arrived on element `index`; what it wrote has gone.
    std::function<void(int index)> onReceived;
    std::function<void(int index)> onWritten;

private:
    void closeIdle();

    EventLoop& loop_;
    StreamListener listener_;
    std::vector<std::unique_ptr<StreamConnection>> connections_;
    std::vector<MonotonicClock::TimePoint> lastActivity_; // per element
    Timer idleCheck_;
    std::chrono::milliseconds idleLimit_;
};

} // namespace cvl
