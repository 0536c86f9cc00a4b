// A peer's address as the kernel gives it and as the display and the log show it: IPv4 peers
// reaching a dual-stack socket appear as plain dotted quads, without the IPv6 mapping prefix.
#pragma once

#include <QHostAddress>
#include <QString>
#include <netinet/in.h>

namespace cvl {

// Where a datagram or a connection came from.
struct PeerAddress {
    sockaddr_in6 address{};
    [[nodiscard]] QHostAddress hostAddress() const;
    [[nodiscard]] quint16 port() const { return ntohs(address.sin6_port); }
    [[nodiscard]] QString text() const;
    [[nodiscard]] bool operator==(const PeerAddress& other) const;
};

// Formats IPv4 by hand: this runs for every request, and QHostAddress::toString() is slow.
[[nodiscard]] inline QString addressText(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    if (!isV4) {
        return address.toString();
    }
    char text[16];
    char* out = text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned octet = (v4 >> shift) & 0xFFu;
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

} // namespace cvl
