#include "platform/stream_listener.h"
#include "platform/linux/bound_socket.h"
#include "platform/linux/mapped_address.h"

#include <QTimer>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>
#include <unistd.h>

namespace cvl {

namespace {

// Room for bursts of clients while the event loop is busy elsewhere.
constexpr int kBacklog = 4096;
// Accepts per wake-up, so that one busy port cannot starve the others.
constexpr int kAcceptsPerCall = 64;
// sockets_ holds the IPv4 socket first.
constexpr std::size_t kIPv4 = 0;
// How long accepting rests when no descriptor is left.
constexpr std::chrono::milliseconds kResourceRetry{100};

bool outOfResources(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

} // namespace

StreamListener::StreamListener(QObject* parent)
    : QObject(parent)
    , resourceRetry_(new QTimer(this)) {
    resourceRetry_->setSingleShot(true);
    resourceRetry_->setInterval(kResourceRetry);
    connect(resourceRetry_, &QTimer::timeout, this, &StreamListener::updateWatch);
}

StreamListener::~StreamListener() {
    close();
}

StreamListener::ListenResult StreamListener::listen(quint16 port) {
    close();
    const BoundSockets bound = bindEveryAddress(SOCK_STREAM, port);
    if (!bound.bound()) {
        return bound.addressInUse ? ListenResult::AddressInUse : ListenResult::Failed;
    }
    sockets_[0].fd = bound.v4;
    sockets_[1].fd = bound.v6;
    port_ = bound.port;
    paused_ = false; // a new socket accepts until told otherwise, whatever the last one did
    for (std::size_t family = 0; family < sockets_.size(); ++family) {
        Socket& socket = sockets_[family];
        if (socket.fd < 0) {
            continue;
        }
        if (::listen(socket.fd, kBacklog) != 0) {
            const bool inUse = errno == EADDRINUSE;
            close();
            return inUse ? ListenResult::AddressInUse : ListenResult::Failed;
        }
        socket.watch =
            std::make_unique<ReadWatch>(socket.fd, [this, family] { acceptPending(family); });
        if (!socket.watch->isEnabled()) { // nobody would ever accept
            close();
            return ListenResult::Failed;
        }
    }
    return ListenResult::Listening;
}

void StreamListener::close() {
    resourceRetry_->stop();
    for (Socket& socket : sockets_) {
        socket.watch.reset();
        if (socket.fd >= 0) {
            ::close(socket.fd);
            socket.fd = -1;
        }
    }
    port_ = 0;
}

void StreamListener::pauseAccepting() {
    paused_ = true;
    updateWatch();
}

void StreamListener::resumeAccepting() {
    paused_ = false;
    updateWatch();
}

void StreamListener::discardPending() {
    for (const Socket& socket : sockets_) {
        // Bounded: a backlog never holds more than this.
        for (int i = 0; i < 65536 && socket.fd >= 0; ++i) {
            const int connection =
                ::accept4(socket.fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (connection < 0) {
                break;
            }
            ::close(connection);
        }
    }
}

void StreamListener::updateWatch() {
    for (const Socket& socket : sockets_) {
        if (socket.watch) {
            socket.watch->setEnabled(!paused_ && !resourceRetry_->isActive());
        }
    }
}

void StreamListener::acceptPending(std::size_t family) {
    const int& fd = sockets_[family].fd; // closing the listener while handling a client clears it
    for (int i = 0; i < kAcceptsPerCall && fd >= 0 && !paused_; ++i) {
        PeerAddress peer;
        socklen_t size = sizeof peer.address;
        const int connection = ::accept4(fd, reinterpret_cast<sockaddr*>(&peer.address), &size,
                                         SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (connection >= 0) {
            if (family == kIPv4) {
                mapIPv4InPlace(peer.address);
            }
            emit connectionRequested(connection, peer);
            continue;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return;
        }
        if (outOfResources(errno)) {
            // The client stays in the backlog; try again once something may have closed.
            resourceRetry_->start();
            updateWatch();
            return;
        }
        if (errno == EBADF || errno == ENOTSOCK || errno == EINVAL) {
            close();
            return;
        }
        // Anything else (a client that reset before it was accepted, a network error
        // passed on by the kernel) belongs to that one client: go on with the next.
    }
}

} // namespace cvl
