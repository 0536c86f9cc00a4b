// The system's socket calls as the shared socket code uses them (POSIX). Each platform folder
// has a header of this name; the build puts the platform's folder on the include path.
#pragma once

#include "platform/event_loop.h"
#include "platform/socket_failure.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace cvl::sys {

using SystemSocket = int;
using SocketLength = socklen_t;
inline constexpr NativeSocket kNoSocket = -1;
// No SIGPIPE for a peer that has gone.
inline constexpr int kSendFlags = MSG_NOSIGNAL;
inline constexpr int kEndSending = SHUT_WR;
// For an answer the connection ends after: held back until the end, so that answer and end
// leave as one segment.
inline constexpr int kLastSendFlags = MSG_NOSIGNAL | MSG_DONTWAIT | MSG_MORE;

[[nodiscard]] inline SystemSocket native(NativeSocket socket) {
    return static_cast<SystemSocket>(socket);
}

// The socket library is ready from the start.
inline void startSockets() {}

// Non-blocking and not passed on to the programs this one starts.
[[nodiscard]] inline NativeSocket openSocket(int family, int type) {
    return ::socket(family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

// The next client, non-blocking; `address` has room for either family.
[[nodiscard]] inline NativeSocket acceptClient(NativeSocket listener, sockaddr_in6& address) {
    socklen_t size = sizeof address;
    return ::accept4(native(listener), reinterpret_cast<sockaddr*>(&address), &size,
                     SOCK_NONBLOCK | SOCK_CLOEXEC);
}

inline void closeSocket(NativeSocket socket) {
    ::close(native(socket));
}

// A restarted server listens again at once while the last run's connections linger in
// TIME_WAIT. Only for listeners: on a datagram socket it would let others share the port.
inline void allowRelisten(NativeSocket socket) {
    const int yes = 1;
    ::setsockopt(native(socket), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

// Datagram sockets need nothing more here.
inline void prepareDatagramSocket(NativeSocket) {}

// Why the last socket call failed.
[[nodiscard]] inline Failure lastFailure() {
    switch (errno) {
    case EAGAIN:
#if EWOULDBLOCK != EAGAIN
    case EWOULDBLOCK:
#endif
    case EINTR:
        return Failure::WouldBlock;
    case EINPROGRESS:
        return Failure::InProgress;
    case EADDRINUSE:
        return Failure::AddressInUse;
    case EACCES:
    case EPERM:
        return Failure::PermissionDenied;
    case EAFNOSUPPORT:
    case EADDRNOTAVAIL:
        return Failure::FamilyMissing;
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
        return Failure::OutOfResources;
    case EBADF:
    case ENOTSOCK:
    case EINVAL:
        return Failure::NotUsable;
    default:
        return Failure::Other;
    }
}

// The last socket call's failure with the system's words for it, read before anything else can
// change them.
[[nodiscard]] inline SocketError lastError() {
    const int code = errno;
    const Failure failure = lastFailure();
    return {failure, std::strerror(code)};
}

} // namespace cvl::sys
