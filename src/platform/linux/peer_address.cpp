#include "platform/peer_address.h"
#include "platform/linux/mapped_address.h"

#include <arpa/inet.h>
#include <cstring>
#include <sys/socket.h>

namespace cvl {

QHostAddress PeerAddress::hostAddress() const {
    if (isMappedIPv4(address)) {
        return QHostAddress(ntohl(unmappedIPv4(address).sin_addr.s_addr));
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
    if (isMappedIPv4(address)) {
        return ipv4Text(ntohl(unmappedIPv4(address).sin_addr.s_addr));
    }
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, &address.sin6_addr, text, sizeof text) != nullptr
               ? QString::fromLatin1(text)
               : QString();
}

PeerAddress peerAddress(const QHostAddress& address, quint16 port) {
    PeerAddress peer;
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    if (isV4) {
        peer.address = mappedIPv4(in_addr{htonl(v4)}, htons(port));
    } else {
        peer.address.sin6_family = AF_INET6;
        peer.address.sin6_port = htons(port);
        const Q_IPV6ADDR v6 = address.toIPv6Address();
        std::memcpy(peer.address.sin6_addr.s6_addr, v6.c, 16);
    }
    return peer;
}

quint16 PeerAddress::port() const {
    return ntohs(address.sin6_port);
}

bool PeerAddress::operator==(const PeerAddress& other) const {
    return std::memcmp(&address.sin6_addr, &other.address.sin6_addr, sizeof address.sin6_addr) == 0;
}

} // namespace cvl
