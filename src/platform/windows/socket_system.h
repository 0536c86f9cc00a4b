// The system's socket calls as the shared socket code uses them (Winsock). Each platform
// folder has a header of this name; the build puts the platform's folder on the include path.
#pragma once

#include "platform/event_loop.h"
#include "platform/socket_failure.h"

// clang-format off: winsock2.h before windows.h, or the old winsock.h comes in with it.
#include <winsock2.h>
#include <ws2tcpip.h>
// clang-format on

namespace cvl::sys {

using SystemSocket = SOCKET;
using SocketLength = int;
inline constexpr NativeSocket kNoSocket = -1;
inline constexpr int kSendFlags = 0;
inline constexpr int kEndSending = SD_SEND;
inline constexpr int kLastSendFlags = 0;

[[nodiscard]] inline SystemSocket native(NativeSocket socket) {
    return static_cast<SystemSocket>(socket);
}

// Winsock wants starting once per process before its first call; safe from any thread.
void startSockets();

// Non-blocking and not passed on to the programs this one starts.
[[nodiscard]] NativeSocket openSocket(int family, int type);
// The next client, non-blocking; `address` has room for either family.
[[nodiscard]] NativeSocket acceptClient(NativeSocket listener, sockaddr_in6& address);

inline void closeSocket(NativeSocket socket) {
    ::closesocket(native(socket));
}

// Nobody else may bind the port while the server has it (SO_REUSEADDR would let another
// program take over a port here, not help a restart).
void allowRelisten(NativeSocket socket);
// The same for datagram sockets, and no reads failing because an earlier answer was refused.
void prepareDatagramSocket(NativeSocket socket);

// Why the last socket call failed.
[[nodiscard]] Failure lastFailure();
// The same with the system's words for it.
[[nodiscard]] SocketError lastError();

} // namespace cvl::sys
