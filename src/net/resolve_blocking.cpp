#include "net/host_lookup.h"
#include "net/peer_socket_address.h"

namespace cvl {

std::vector<PeerAddress> resolveBlocking(const std::string& host, std::uint16_t port) {
    sys::startSockets();
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM; // one entry per address, not one per socket type
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) {
        return {};
    }
    std::vector<PeerAddress> addresses;
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family == AF_INET) {
            sockaddr_in v4{};
            std::memcpy(&v4, entry->ai_addr, sizeof v4);
            addresses.push_back(PeerAddress::fromIPv4(ntohl(v4.sin_addr.s_addr), port));
        } else if (entry->ai_family == AF_INET6) {
            sockaddr_in6 v6{};
            std::memcpy(&v6, entry->ai_addr, sizeof v6);
            v6.sin6_port = htons(port);
            addresses.push_back(peerFromSocketAddress(v6));
        }
    }
    ::freeaddrinfo(found);
    return addresses;
}

} // namespace cvl
