// A service socket's descriptors, one per address family (IPv4 first, then IPv6), each with its
// readiness watch: what the UDP sockets and the TCP listeners share.
#pragma once

#include "platform/event_loop.h"

#include <array>
#include <cstddef>
#include <functional>

namespace cvl {

struct BoundSockets;

class FamilySockets {
public:
    static constexpr std::size_t kIPv4 = 0;
    static constexpr std::size_t kIPv6 = 1;

    FamilySockets() = default;
    ~FamilySockets() { close(); }
    FamilySockets(const FamilySockets&) = delete;
    FamilySockets& operator=(const FamilySockets&) = delete;

    // Takes over the descriptors of `bound`.
    void adopt(const BoundSockets& bound);
    // Watches every descriptor; `onReadable` learns which family is ready. False, and
    // everything closed, when one cannot be watched: nobody would ever read it.
    bool watch(EventLoop& loop, const std::function<void(std::size_t family)>& onReadable);
    void setWatching(bool on);
    void close();

    [[nodiscard]] NativeSocket fd(std::size_t family) const { return sockets_[family].fd; }
    [[nodiscard]] bool isOpen() const { return fd(kIPv4) >= 0 || fd(kIPv6) >= 0; }

private:
    struct Socket {
        NativeSocket fd = -1;
        SocketWatch watch;
    };
    std::array<Socket, 2> sockets_;
};

} // namespace cvl
