#include "platform/family_sockets.h"
#include "platform/linux/bound_socket.h"

#include <unistd.h>

namespace cvl {

void FamilySockets::adopt(const BoundSockets& bound) {
    close();
    sockets_[kIPv4].fd = bound.v4;
    sockets_[kIPv6].fd = bound.v6;
}

bool FamilySockets::watch(const std::function<void(std::size_t family)>& onReadable) {
    for (std::size_t family = 0; family < sockets_.size(); ++family) {
        Socket& socket = sockets_[family];
        if (socket.fd < 0) {
            continue;
        }
        socket.watch =
            std::make_unique<ReadWatch>(socket.fd, [onReadable, family] { onReadable(family); });
        if (!socket.watch->isEnabled()) {
            close();
            return false;
        }
    }
    return true;
}

void FamilySockets::setWatching(bool on) {
    for (const Socket& socket : sockets_) {
        if (socket.watch) {
            socket.watch->setEnabled(on);
        }
    }
}

void FamilySockets::close() {
    for (Socket& socket : sockets_) {
        socket.watch.reset();
        if (socket.fd >= 0) {
            ::close(socket.fd);
            socket.fd = -1;
        }
    }
}

} // namespace cvl
