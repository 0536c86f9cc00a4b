// The system's datagram calls as the datagram sockets use them: a batch of waiting datagrams
// read in as few calls as the system allows, and a batch of answers sent the same way. Peers
// are in the IPv4-mapped form whatever the socket's family.
#pragma once

#include "platform/event_loop.h"

#include "socket_system.h"

#include <span>
#include <string_view>

namespace cvl::sys {

struct ReceivedDatagram {
    char* buffer = nullptr; // where its first bytes are kept (set by the caller)
    int capacity = 0;       // how many of them (set by the caller)
    int size = 0;           // its length as sent, however much was kept
    sockaddr_in6 sender{};
};

// Reads waiting datagrams into `slots`, without blocking; how many were read. `ipv4`: the
// socket is an IPv4 one, whose senders are mapped.
[[nodiscard]] int receiveDatagrams(NativeSocket socket, bool ipv4,
                                   std::span<ReceivedDatagram> slots);

struct OutgoingDatagram {
    std::string_view data;
    sockaddr_in6 to{};
};

// Sends each datagram through `socket`, in order. One the system refuses is lost, as a single
// send would lose it, and the rest still go.
void sendDatagrams(NativeSocket socket, std::span<const OutgoingDatagram> datagrams);
// One datagram; false when the system refuses it.
bool sendDatagram(NativeSocket socket, std::string_view data, const sockaddr_in6& to);
// Each byte of `data` (at most eight) as a datagram of its own, in order; how many went
// before the system refused one.
int sendEachByte(NativeSocket socket, std::string_view data, const sockaddr_in6& to);

} // namespace cvl::sys
