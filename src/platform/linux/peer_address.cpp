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

QString ipv4Text(quint32 address) {
    char text[16];
    char* out = text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned octet = (address >> shift) & 0xFFu;
        if (octet >= 100) {
            *out++ = static_cast<char>('0' + octet / 100);
        }
        if (octet >= 10) {
            *out++ = static_cast<char>('0' + octet / 10 % 10);
        }
        *out++ = static_cast<char>('0' + octet % 10);
        if (shift > 0) {
            *out++ = '.';
        }
    }
    return QString::fromLatin1(text, out - text);
}

QString PeerAddress::text() const {
    const std::uint8_t* bytes = address.sin6_addr.s6_addr;
    if (isMappedV4(address.sin6_addr)) {
        return ipv4Text(quint32{bytes[12]} << 24 | quint32{bytes[13]} << 16 |
                        quint32{bytes[14]} << 8 | bytes[15]);
    }
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, &address.sin6_addr, text, sizeof text) != nullptr
               ? QString::fromLatin1(text)
               : QString();
}

bool PeerAddress::operator==(const PeerAddress& other) const {
    return std::memcmp(&address.sin6_addr, &other.address.sin6_addr, sizeof address.sin6_addr) == 0;
}

} // namespace cvl
