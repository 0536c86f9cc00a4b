// A peer's address as the display and the log show it: IPv4 peers, kept in the IPv4-mapped
// IPv6 form, appear as plain dotted quads, without the mapping prefix.
#pragma once

#include <QHostAddress>
#include <QString>
#include <netinet/in.h>

namespace cvl {

// Where a datagram or a connection came from.
struct PeerAddress {
    sockaddr_in6 address{};
    [[nodiscard]] QHostAddress hostAddress() const;
    [[nodiscard]] QString text() const;
    [[nodiscard]] quint16 port() const;
    // The addresses alone: the ports play no part.
    [[nodiscard]] bool operator==(const PeerAddress& other) const;
};

// Where to send to or connect to: IPv4 in the mapped form, as every peer is kept.
[[nodiscard]] PeerAddress peerAddress(const QHostAddress& address, quint16 port);

// A dotted quad, formatted by hand: this runs for every request, and both
// QHostAddress::toString() and inet_ntop() go through printf-style formatting.
[[nodiscard]] QString ipv4Text(quint32 address);

// IPv4 as a dotted quad, anything else as the toolkit writes it.
[[nodiscard]] inline QString addressText(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    return isV4 ? ipv4Text(v4) : address.toString();
}

} // namespace cvl
