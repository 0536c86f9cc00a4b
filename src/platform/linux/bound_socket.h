// The start of every service socket: one descriptor for IPv4 and IPv6 clients alike, bound to
// every address on one port.
#pragma once

#include <QtGlobal>

namespace cvl {

struct BoundSocket {
    int fd = -1; // negative when the socket could not be bound
    quint16 port = 0;
    bool addressInUse = false;
};

// `type` is SOCK_DGRAM or SOCK_STREAM; port 0 takes any free one. Non-blocking, close-on-exec.
[[nodiscard]] BoundSocket bindDualStack(int type, quint16 port);

} // namespace cvl
