// IPv4 peers arrive on an IPv4 socket as sockaddr_in, but are kept in the IPv4-mapped IPv6 form
// (::ffff:a.b.c.d), so that above the sockets both families look alike.
#pragma once

#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

namespace cvl {

// `address` holds a sockaddr_in as the kernel wrote it into this larger buffer.
inline void mapIPv4InPlace(sockaddr_in6& address) {
    sockaddr_in v4{};
    std::memcpy(&v4, &address, sizeof v4);
    address = sockaddr_in6{};
    address.sin6_family = AF_INET6;
    address.sin6_port = v4.sin_port;
    address.sin6_addr.s6_addr[10] = 0xFF;
    address.sin6_addr.s6_addr[11] = 0xFF;
    std::memcpy(address.sin6_addr.s6_addr + 12, &v4.sin_addr, 4);
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
