#include "net/family_sockets.h"
#include "net/bound_socket.h"

#include "socket_system.h"

namespace cvl {

void FamilySockets::adopt(const BoundSockets& bound) {
    close();
    sockets_[kIPv4].fd = bound.v4;
    sockets_[kIPv6].fd = bound.v6;
}

bool FamilySockets::watch(EventLoop& loop,
                          const std::function<void(std::size_t family)>& onReadable) {
    for (std::size_t family = 0; family < sockets_.size(); ++family) {
        Socket& socket = sockets_[family];
        if (socket.fd < 0) {
            continue;
        }
        if (!socket.watch.start(loop, socket.fd, EventLoop::Readable,
                                [onReadable, family](unsigned) { onReadable(family); })) {
            close();
            return false;
        }
    }
    return true;
}

void FamilySockets::setWatching(bool on) {
    for (Socket& socket : sockets_) {
        socket.watch.setInterest(on ? EventLoop::Readable : 0u);
    }
}

void FamilySockets::close() {
    for (Socket& socket : sockets_) {
        socket.watch.reset();
        if (socket.fd >= 0) {
            sys::closeSocket(socket.fd);
            socket.fd = -1;
        }
    }
}

} // namespace cvl
