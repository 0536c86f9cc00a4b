#include "platform/peer_address.h"

#include <arpa/inet.h>
#include <cstring>
#include <sys/socket.h>

namespace cvl {

namespace {

bool isMappedV4(const in6_addr& address) {
    return IN6_IS_ADDR_V4MAPPED(&address) != 0;
}

} // namespace

QHostAddress PeerAddress::hostAddress() const {
    if (isMappedV4(address.sin6_addr)) {
        quint32 v4 = 0;
        std::memcpy(&v4, address.sin6_addr.s6_addr + 12, 4);
        return QHostAddress(ntohl(v4));
    }
    return QHostAddress(reinterpret_cast<const sockaddr*>(&address));
}

QString PeerAddress::text() const {
    char text[INET6_ADDRSTRLEN];
    const bool v4 = isMappedV4(address.sin6_addr);
    const char* written = v4 ? inet_ntop(AF_INET, address.sin6_addr.s6_addr + 12, text, sizeof text)
                             : inet_ntop(AF_INET6, &address.sin6_addr, text, sizeof text);
    return written != nullptr ? QString::fromLatin1(text) : QString();
}

bool PeerAddress::operator==(const PeerAddress& other) const {
    return std::memcmp(&address.sin6_addr, &other.address.sin6_addr, sizeof address.sin6_addr) == 0;
}

} // namespace cvl
