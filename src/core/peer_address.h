// A peer's address as the display and the log show it: IPv4 peers reaching a dual-stack
// socket appear as plain dotted quads, without the IPv6 mapping prefix.
#pragma once

#include <QHostAddress>
#include <QString>

namespace cvl {

[[nodiscard]] inline QString addressText(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    return isV4 ? QHostAddress(v4).toString() : address.toString();
}

} // namespace cvl
