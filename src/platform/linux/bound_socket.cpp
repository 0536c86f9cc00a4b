#include "platform/linux/bound_socket.h"

#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace cvl {

BoundSocket bindDualStack(int type, quint16 port) {
    BoundSocket bound;
    const int fd = ::socket(AF_INET6, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return bound;
    }
    const int no = 0;
    const int yes = 1;
    ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &no, sizeof no);
    if (type == SOCK_STREAM) {
        // A restart may listen again at once while the last run's connections linger in
        // TIME_WAIT. (On a datagram socket the same option would let others share the port.)
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    sockaddr_in6 any{};
    any.sin6_family = AF_INET6;
    any.sin6_addr = in6addr_any;
    any.sin6_port = htons(port);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) {
        bound.addressInUse = errno == EADDRINUSE;
        ::close(fd);
        return bound;
    }
    sockaddr_in6 local{};
    socklen_t size = sizeof local;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size);
    bound.fd = fd;
    bound.port = ntohs(local.sin6_port);
    return bound;
}

} // namespace cvl
