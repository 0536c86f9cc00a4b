// A peer in the kernel's address form and back: both hold the same bytes, IPv4 in the mapped
// form.
#pragma once

#include "net/peer_address.h"
#include "platform/socket_address.h"

#include <array>
#include <cstring>

namespace cvl {

[[nodiscard]] inline PeerAddress peerFromSocketAddress(const sockaddr_in6& address) {
    std::array<std::uint8_t, 16> bytes{};
    std::memcpy(bytes.data(), address.sin6_addr.s6_addr, bytes.size());
    return {bytes, ntohs(address.sin6_port)};
}

[[nodiscard]] inline sockaddr_in6 socketAddressOf(const PeerAddress& peer) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(peer.port());
    std::memcpy(address.sin6_addr.s6_addr, peer.bytes().data(), peer.bytes().size());
    return address;
}

} // namespace cvl
