#include "platform/linux/bound_socket.h"

#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace cvl {

namespace {

// The descriptor, or -1 with errno telling why.
int bindOne(int family, int type, std::uint16_t port) {
    const int fd = ::socket(family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    const int yes = 1;
    if (family == AF_INET6) {
        // IPv4 clients have a socket of their own.
        ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &yes, sizeof yes);
    }
    if (type == SOCK_STREAM) {
        // A restart may listen again at once while the last run's connections linger in
        // TIME_WAIT. (On a datagram socket the same option would let others share the port.)
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = htonl(INADDR_ANY);
    v4.sin_port = htons(port);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = in6addr_any;
    v6.sin6_port = htons(port);
    const int result = family == AF_INET
                           ? ::bind(fd, reinterpret_cast<const sockaddr*>(&v4), sizeof v4)
                           : ::bind(fd, reinterpret_cast<const sockaddr*>(&v6), sizeof v6);
    if (result != 0) {
        const int error = errno;
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

std::uint16_t boundPort(int fd) {
    sockaddr_in6 local{}; // large enough for either family; the port sits at the same offset
    socklen_t size = sizeof local;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin6_port);
}

// The family is missing from this system, or has no address to bind to.
bool familyMissing(int error) {
    return error == EAFNOSUPPORT || error == EADDRNOTAVAIL;
}

BoundSockets bindPair(int type, std::uint16_t port) {
    BoundSockets bound;
    bound.v4 = bindOne(AF_INET, type, port);
    if (bound.v4 < 0 && !familyMissing(errno)) {
        bound.addressInUse = errno == EADDRINUSE;
        return bound;
    }
    if (bound.v4 >= 0) {
        port = boundPort(bound.v4); // with port 0, IPv6 takes the same one
    }
    bound.v6 = bindOne(AF_INET6, type, port);
    if (bound.v6 < 0 && !familyMissing(errno)) {
        bound.addressInUse = errno == EADDRINUSE;
        if (bound.v4 >= 0) {
            ::close(bound.v4);
            bound.v4 = -1;
        }
        return bound;
    }
    if (bound.bound()) {
        bound.port = boundPort(bound.v4 >= 0 ? bound.v4 : bound.v6);
    }
    return bound;
}

} // namespace

BoundSockets bindEveryAddress(int type, std::uint16_t port) {
    BoundSockets bound = bindPair(type, port);
    // A port chosen free for IPv4 may be taken for IPv6; choose again, a bounded number of times.
    for (int attempt = 0; port == 0 && bound.addressInUse && attempt < 16; ++attempt) {
        bound = bindPair(type, port);
    }
    return bound;
}

} // namespace cvl
