#include "net/stream_listener.h"
#include "net/bound_socket.h"
#include "net/peer_socket_address.h"

#include <chrono>
#include <utility>

namespace cvl {

namespace {

// Room for bursts of clients while the event loop is busy elsewhere.
constexpr int kBacklog = 4096;
// Accepts per wake-up, so that one busy port cannot starve the others.
constexpr int kAcceptsPerCall = 64;
// How long accepting rests when no descriptor is left.
constexpr std::chrono::milliseconds kResourceRetry{100};

} // namespace

StreamListener::StreamListener(EventLoop& loop)
    : loop_(loop)
    , resourceRetry_(loop, [this] { updateWatch(); }) {
    resourceRetry_.setSingleShot(true);
    resourceRetry_.setInterval(kResourceRetry);
}

StreamListener::~StreamListener() {
    close();
}

OpenResult StreamListener::listen(std::uint16_t port) {
    close();
    const BoundSockets bound = bindEveryAddress(SocketKind::Stream, port);
    if (!bound.bound()) {
        return {false, bound.error};
    }
    sockets_.adopt(bound);
    for (const NativeSocket socket : {bound.v4, bound.v6}) {
        if (socket >= 0 && ::listen(sys::native(socket), kBacklog) != 0) {
            sys::SocketError error = sys::lastError();
            close();
            return {false, std::move(error)};
        }
    }
    if (!sockets_.watch(loop_, [this](std::size_t family) { acceptPending(family); })) {
        close();
        return {false, {sys::Failure::OutOfResources, "the event loop cannot watch the socket"}};
    }
    port_ = bound.port;
    paused_ = false; // a new socket accepts until told otherwise, whatever the last one did
    return {true, {}};
}

void StreamListener::close() {
    resourceRetry_.stop();
    sockets_.close();
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
    for (const std::size_t family : {FamilySockets::kIPv4, FamilySockets::kIPv6}) {
        // Bounded: a backlog never holds more than this.
        for (int i = 0; i < 65536 && sockets_.fd(family) >= 0; ++i) {
            sockaddr_in6 address{};
            const NativeSocket connection = sys::acceptClient(sockets_.fd(family), address);
            if (connection < 0) {
                break;
            }
            sys::closeSocket(connection);
        }
    }
}

void StreamListener::updateWatch() {
    sockets_.setWatching(!paused_ && !resourceRetry_.isActive());
}

void StreamListener::acceptPending(std::size_t family) {
    // A client's handler may close the listener: the descriptor is looked up each round.
    for (int i = 0; i < kAcceptsPerCall && sockets_.fd(family) >= 0 && !paused_; ++i) {
        sockaddr_in6 address{};
        const NativeSocket connection = sys::acceptClient(sockets_.fd(family), address);
        if (connection >= 0) {
            if (family == FamilySockets::kIPv4) {
                mapIPv4InPlace(address);
            }
            if (onConnection) {
                onConnection(connection, peerFromSocketAddress(address));
            } else {
                sys::closeSocket(connection);
            }
            continue;
        }
        const sys::Failure failure = sys::lastFailure();
        if (failure == sys::Failure::WouldBlock) {
            return;
        }
        if (failure == sys::Failure::OutOfResources) {
            // The client stays in the backlog; try again once something may have closed.
            resourceRetry_.start();
            updateWatch();
            return;
        }
        if (failure == sys::Failure::NotUsable) {
            close();
            return;
        }
        // Anything else (a client that reset before it was accepted, a network error
        // passed on by the kernel) belongs to that one client: go on with the next.
    }
}

} // namespace cvl
