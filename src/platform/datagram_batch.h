// The buffers of one batch of datagrams, read and answered (shared by the DatagramSocket and
// the platform's batch calls).
#pragma once

#include "platform/datagram_socket.h"

#include "socket_system.h"

namespace cvl {

struct DatagramSocket::Batch {
    // Left uninitialised: untouched pages of an idle socket cost no memory.
    std::array<char, static_cast<std::size_t>(kBatch) * kKeptBytes> buffers;
    std::array<sockaddr_in6, kBatch> peers{};
    std::array<int, kBatch> sizes{};
    std::array<std::array<char, kQueuedBytes>, kBatch> replies{};
    std::array<int, kBatch> replySizes{};
    std::array<sockaddr_in6, kBatch> replyPeers{};
};

} // namespace cvl
