// The system calls of the datagram sockets on Windows. Winsock has no batch calls: the
// datagrams of a batch are read one by one, and the answers to it go one by one.
#include "platform/datagram_batch.h"
#include "platform/socket_address.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace cvl {

namespace {

// Sends `data` to `to` (mapped form) through the socket of its family.
bool sendTo(NativeSocket socket, std::string_view data, const sockaddr_in6& to) {
    if (socket < 0) {
        return false;
    }
    const sockaddr_in v4 = unmappedIPv4(to);
    const bool ipv4 = isMappedIPv4(to);
    const auto* address =
        ipv4 ? reinterpret_cast<const sockaddr*>(&v4) : reinterpret_cast<const sockaddr*>(&to);
    const int size = ipv4 ? int{sizeof v4} : int{sizeof to};
    return ::sendto(sys::native(socket), data.data(), static_cast<int>(data.size()), 0, address,
                    size) == static_cast<int>(data.size());
}

} // namespace

int DatagramSocket::receiveBatch() {
    const NativeSocket socket = sockets_.fd(ready_);
    if (socket < 0) {
        return 0;
    }
    // Read whole, so that a datagram longer than what is kept still tells its length.
    static thread_local std::vector<char> whole(65536);
    int count = 0;
    for (int attempt = 0; attempt < 2 * kBatch && count < kBatch; ++attempt) {
        const auto i = static_cast<std::size_t>(count);
        sockaddr_in6 peer{};
        int peerSize = sizeof peer;
        const int got =
            ::recvfrom(sys::native(socket), whole.data(), static_cast<int>(whole.size()), 0,
                       reinterpret_cast<sockaddr*>(&peer), &peerSize);
        if (got < 0) {
            if (::WSAGetLastError() == WSAECONNRESET) {
                continue; // a refusal of an earlier answer, reported late: not a datagram
            }
            break;
        }
        std::memcpy(batch_->buffers.data() + i * kKeptBytes, whole.data(),
                    static_cast<std::size_t>(std::min(got, kKeptBytes)));
        batch_->sizes[i] = got;
        if (ready_ == FamilySockets::kIPv4) {
            mapIPv4InPlace(peer);
        }
        batch_->peers[i] = peer;
        ++count;
    }
    return count;
}

bool DatagramSocket::send(std::string_view data, const PeerAddress& to) {
    const sockaddr_in6 destination = socketAddressOf(to);
    return sendTo(socketFor(isMappedIPv4(destination)), data, destination);
}

int DatagramSocket::sendBytewise(std::string_view data, const PeerAddress& to) {
    const sockaddr_in6 destination = socketAddressOf(to);
    const NativeSocket socket = socketFor(isMappedIPv4(destination));
    int sent = 0;
    while (static_cast<std::size_t>(sent) < data.size() &&
           sendTo(socket, data.substr(static_cast<std::size_t>(sent), 1), destination)) {
        ++sent;
    }
    return sent;
}

void DatagramSocket::flushReplies() {
    const int count = std::exchange(queued_, 0);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const sockaddr_in6& to = batch_->replyPeers[i];
        sendTo(socketFor(isMappedIPv4(to)),
               std::string_view(batch_->replies[i].data(),
                                static_cast<std::size_t>(batch_->replySizes[i])),
               to);
    }
}

} // namespace cvl
