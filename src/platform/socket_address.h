// IPv4 peers arrive on an IPv4 socket as sockaddr_in, but are kept in the IPv4-mapped IPv6 form
// (::ffff:a.b.c.d), so that above the sockets both families look alike.
#pragma once

#include "socket_system.h"

#include <cstdint>
#include <cstring>

namespace cvl {

// The mapped form of an IPv4 address and port, both in network byte order.
[[nodiscard]] inline sockaddr_in6 mappedIPv4(in_addr address, std::uint16_t port) {
    sockaddr_in6 mapped{};
    mapped.sin6_family = AF_INET6;
    mapped.sin6_port = port;
    mapped.sin6_addr.s6_addr[10] = 0xFF;
    mapped.sin6_addr.s6_addr[11] = 0xFF;
    std::memcpy(mapped.sin6_addr.s6_addr + 12, &address, 4);
    return mapped;
}

// `address` holds a sockaddr_in as the kernel wrote it into this larger buffer.
inline void mapIPv4InPlace(sockaddr_in6& address) {
    sockaddr_in v4{};
    std::memcpy(&v4, &address, sizeof v4);
    address = mappedIPv4(v4.sin_addr, v4.sin_port);
}

[[nodiscard]] inline bool isMappedIPv4(const sockaddr_in6& address) {
    return IN6_IS_ADDR_V4MAPPED(&address.sin6_addr) != 0;
}

// The address to give an IPv4 socket for a peer kept in the mapped form.
[[nodiscard]] inline sockaddr_in unmappedIPv4(const sockaddr_in6& address) {
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = address.sin6_port;
    std::memcpy(&v4.sin_addr, address.sin6_addr.s6_addr + 12, 4);
    return v4;
}

} // namespace cvl
