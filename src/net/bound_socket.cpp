#include "net/bound_socket.h"

#include "socket_system.h"

#include <utility>

namespace cvl {

namespace {

struct BindOutcome {
    NativeSocket socket = sys::kNoSocket;
    sys::SocketError error;
};

BindOutcome bindOne(int family, SocketKind kind, std::uint16_t port) {
    const int type = kind == SocketKind::Stream ? SOCK_STREAM : SOCK_DGRAM;
    const NativeSocket socket = sys::openSocket(family, type);
    if (socket < 0) {
        return {sys::kNoSocket, sys::lastError()};
    }
    if (family == AF_INET6) {
        // IPv4 clients have a socket of their own.
        const int yes = 1;
        ::setsockopt(sys::native(socket), IPPROTO_IPV6, IPV6_V6ONLY,
                     reinterpret_cast<const char*>(&yes), sizeof yes);
    }
    if (kind == SocketKind::Stream) {
        sys::allowRelisten(socket);
    } else {
        sys::prepareDatagramSocket(socket);
    }
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = htonl(INADDR_ANY);
    v4.sin_port = htons(port);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = in6addr_any;
    v6.sin6_port = htons(port);
    const int result =
        family == AF_INET
            ? ::bind(sys::native(socket), reinterpret_cast<const sockaddr*>(&v4), sizeof v4)
            : ::bind(sys::native(socket), reinterpret_cast<const sockaddr*>(&v6), sizeof v6);
    if (result != 0) {
        sys::SocketError error = sys::lastError();
        sys::closeSocket(socket);
        return {sys::kNoSocket, std::move(error)};
    }
    return {socket, {}};
}

std::uint16_t boundPort(NativeSocket socket) {
    sockaddr_in6 local{}; // large enough for either family; the port sits at the same offset
    sys::SocketLength size = sizeof local;
    ::getsockname(sys::native(socket), reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin6_port);
}

BoundSockets bindPair(SocketKind kind, std::uint16_t port) {
    BoundSockets bound;
    const BindOutcome v4 = bindOne(AF_INET, kind, port);
    bound.v4 = v4.socket;
    // A family missing from this system, or with no address to bind to, is left out.
    if (bound.v4 < 0 && v4.error.failure != sys::Failure::FamilyMissing) {
        bound.error = v4.error;
        return bound;
    }
    if (bound.v4 >= 0) {
        port = boundPort(bound.v4); // with port 0, IPv6 takes the same one
    }
    const BindOutcome v6 = bindOne(AF_INET6, kind, port);
    bound.v6 = v6.socket;
    if (bound.v6 < 0 && v6.error.failure != sys::Failure::FamilyMissing) {
        bound.error = v6.error;
        if (bound.v4 >= 0) {
            sys::closeSocket(bound.v4);
            bound.v4 = sys::kNoSocket;
        }
        return bound;
    }
    if (bound.bound()) {
        bound.port = boundPort(bound.v4 >= 0 ? bound.v4 : bound.v6);
    } else {
        bound.error = v6.error; // neither family is there
    }
    return bound;
}

} // namespace

BoundSockets bindEveryAddress(SocketKind kind, std::uint16_t port) {
    BoundSockets bound = bindPair(kind, port);
    // A port chosen free for IPv4 may be taken for IPv6; choose again, a bounded number of times.
    for (int attempt = 0;
         port == 0 && bound.error.failure == sys::Failure::AddressInUse && attempt < 16;
         ++attempt) {
        bound = bindPair(kind, port);
    }
    return bound;
}

} // namespace cvl
