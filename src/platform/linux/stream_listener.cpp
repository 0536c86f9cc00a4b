#include "platform/stream_listener.h"
#include "platform/linux/bound_socket.h"

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
    const BoundSocket bound = bindDualStack(SOCK_STREAM, port);
    if (bound.fd < 0) {
        return bound.addressInUse ? ListenResult::AddressInUse : ListenResult::Failed;
    }
    if (::listen(bound.fd, kBacklog) != 0) {
        const bool inUse = errno == EADDRINUSE;
        ::close(bound.fd);
        return inUse ? ListenResult::AddressInUse : ListenResult::Failed;
    }
    fd_ = bound.fd;
    port_ = bound.port;
    paused_ = false; // a new socket accepts until told otherwise, whatever the last one did
    watch_ = std::make_unique<ReadWatch>(fd_, [this] { acceptPending(); });
    if (!watch_->isEnabled()) { // nobody would ever accept
        close();
        return ListenResult::Failed;
    }
    return ListenResult::Listening;
}

void StreamListener::close() {
    resourceRetry_->stop();
    watch_.reset();
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
        port_ = 0;
    }
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
    // Bounded: a backlog never holds more than this.
    for (int i = 0; i < 65536 && fd_ >= 0; ++i) {
        const int connection = ::accept4(fd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        ::close(connection);
    }
}

void StreamListener::updateWatch() {
    if (watch_) {
        watch_->setEnabled(!paused_ && !resourceRetry_->isActive());
    }
}

void StreamListener::acceptPending() {
    for (int i = 0; i < kAcceptsPerCall && fd_ >= 0 && !paused_; ++i) {
        PeerAddress peer;
        socklen_t size = sizeof peer.address;
        const int connection = ::accept4(fd_, reinterpret_cast<sockaddr*>(&peer.address), &size,
                                         SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (connection >= 0) {
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
