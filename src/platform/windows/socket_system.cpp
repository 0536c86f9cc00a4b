#include "socket_system.h"
#include "platform/windows/system_error_text.h"

#include <mutex>

namespace cvl::sys {

namespace {

// Not in every SDK's headers: reporting of ICMP refusals on datagram sockets.
constexpr DWORD kUdpConnectionReset = _WSAIOW(IOC_VENDOR, 12);

void keepFromChildren(NativeSocket socket) {
    ::SetHandleInformation(reinterpret_cast<HANDLE>(native(socket)), HANDLE_FLAG_INHERIT, 0);
}

void makeNonBlocking(NativeSocket socket) {
    u_long yes = 1;
    ::ioctlsocket(native(socket), FIONBIO, &yes);
}

void takePortAlone(NativeSocket socket) {
    BOOL yes = TRUE;
    ::setsockopt(native(socket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
                 reinterpret_cast<const char*>(&yes), sizeof yes);
}

} // namespace

void startSockets() {
    static std::once_flag started;
    std::call_once(started, [] {
        WSADATA data{};
        ::WSAStartup(MAKEWORD(2, 2), &data);
    });
}

NativeSocket openSocket(int family, int type) {
    startSockets();
    const SOCKET socket = ::socket(family, type, 0);
    if (socket == INVALID_SOCKET) {
        return kNoSocket;
    }
    const auto opened = static_cast<NativeSocket>(socket);
    makeNonBlocking(opened);
    keepFromChildren(opened);
    return opened;
}

NativeSocket acceptClient(NativeSocket listener, sockaddr_in6& address) {
    int size = sizeof address;
    const SOCKET socket = ::accept(native(listener), reinterpret_cast<sockaddr*>(&address), &size);
    if (socket == INVALID_SOCKET) {
        return kNoSocket;
    }
    // It takes the listener's non-blocking mode and window events with it; asking for the
    // mode again would even be refused while those events are set.
    const auto accepted = static_cast<NativeSocket>(socket);
    keepFromChildren(accepted);
    return accepted;
}

void allowRelisten(NativeSocket socket) {
    takePortAlone(socket);
}

void prepareDatagramSocket(NativeSocket socket) {
    takePortAlone(socket);
    // An ICMP "port unreachable" for an earlier answer would otherwise fail the next read.
    BOOL report = FALSE;
    DWORD returned = 0;
    ::WSAIoctl(native(socket), kUdpConnectionReset, &report, sizeof report, nullptr, 0, &returned,
               nullptr, nullptr);
}

SocketError lastError() {
    const int code = ::WSAGetLastError();
    const Failure failure = lastFailure();
    std::string words = systemErrorText(static_cast<unsigned long>(code));
    ::WSASetLastError(code);
    return {failure, words};
}

Failure lastFailure() {
    switch (::WSAGetLastError()) {
    case WSAEWOULDBLOCK:
    case WSAEINTR:
        return Failure::WouldBlock;
    case WSAEINPROGRESS:
        return Failure::InProgress;
    case WSAEADDRINUSE:
        return Failure::AddressInUse;
    case WSAEACCES:
        return Failure::PermissionDenied;
    case WSAEAFNOSUPPORT:
    case WSAEADDRNOTAVAIL:
        return Failure::FamilyMissing;
    case WSAEMFILE:
    case WSAENOBUFS:
        return Failure::OutOfResources;
    case WSAENOTSOCK:
    case WSAEINVAL:
        return Failure::NotUsable;
    default:
        return Failure::Other;
    }
}

} // namespace cvl::sys
