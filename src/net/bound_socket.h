// The start of every service socket: one socket for IPv4 clients and one for IPv6 clients,
// both bound to every address of their family on the same port. Two sockets rather than one
// dual-stack socket: an IPv4 client then costs no IPv6 handling (about 1 µs less per TCP
// connection), and a system without IPv6 still serves IPv4.
#pragma once

#include "platform/event_loop.h"
#include "platform/socket_failure.h"

#include <cstdint>

namespace cvl {

struct BoundSockets {
    NativeSocket v4 = -1; // negative where that family could not be bound
    NativeSocket v6 = -1;
    std::uint16_t port = 0;
    sys::SocketError error; // why nothing was bound

    [[nodiscard]] bool bound() const { return v4 >= 0 || v6 >= 0; }
};

enum class SocketKind { Datagram, Stream };

// Port 0 takes any port free in both families. Non-blocking, not inherited by programs this
// one starts. Fails as a whole when the port is taken in either family.
[[nodiscard]] BoundSockets bindEveryAddress(SocketKind kind, std::uint16_t port);

} // namespace cvl
