// The system calls of the datagram sockets on Linux: a batch of datagrams read with one
// recvmmsg, the answers to it sent with one sendmmsg per family.
#include "platform/datagram_batch.h"
#include "platform/socket_address.h"

#include <algorithm>
#include <utility>

namespace cvl {

namespace {

constexpr std::size_t kIPv4 = FamilySockets::kIPv4;

// Points `header` at `to` in the form its family's socket takes; `v4` holds the IPv4 form.
void setDestination(msghdr& header, const sockaddr_in6& to, sockaddr_in& v4) {
    if (isMappedIPv4(to)) {
        v4 = unmappedIPv4(to);
        header.msg_name = &v4;
        header.msg_namelen = sizeof v4;
    } else {
        header.msg_name = const_cast<sockaddr_in6*>(&to);
        header.msg_namelen = sizeof to;
    }
}

// sendmmsg stops at the first datagram the system refuses; that one is lost, as a single
// send would lose it, and the rest still go.
void sendEach(int fd, mmsghdr* messages, int count) {
    for (int sent = 0; fd >= 0 && sent < count;) {
        const int result =
            ::sendmmsg(fd, messages + sent, static_cast<unsigned>(count - sent), MSG_DONTWAIT);
        sent += result > 0 ? result : 1;
    }
}

} // namespace

int DatagramSocket::receiveBatch() {
    const int fd = sys::native(sockets_.fd(ready_));
    if (fd < 0) {
        return 0;
    }
    std::array<mmsghdr, kBatch> messages{};
    std::array<iovec, kBatch> vectors{};
    for (std::size_t i = 0; i < messages.size(); ++i) {
        vectors[i] = {batch_->buffers.data() + i * kKeptBytes, kKeptBytes};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &batch_->peers[i];
        messages[i].msg_hdr.msg_namelen = sizeof batch_->peers[i];
    }
    // MSG_TRUNC: each length is the datagram's own, even where less was kept.
    const int count = ::recvmmsg(fd, messages.data(), kBatch, MSG_DONTWAIT | MSG_TRUNC, nullptr);
    for (int i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        batch_->sizes[index] = static_cast<int>(messages[index].msg_len);
        if (ready_ == kIPv4) {
            mapIPv4InPlace(batch_->peers[index]);
        }
    }
    return count < 0 ? 0 : count;
}

bool DatagramSocket::send(std::string_view data, const PeerAddress& to) {
    msghdr header{};
    iovec vector{const_cast<char*>(data.data()), static_cast<std::size_t>(data.size())};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    sockaddr_in v4{};
    const sockaddr_in6 destination = socketAddressOf(to);
    setDestination(header, destination, v4);
    const int fd = sys::native(socketFor(isMappedIPv4(destination)));
    return fd >= 0 && ::sendmsg(fd, &header, MSG_DONTWAIT) == static_cast<ssize_t>(data.size());
}

int DatagramSocket::sendBytewise(std::string_view data, const PeerAddress& to) {
    constexpr std::size_t most = 8;
    const sockaddr_in6 destination = socketAddressOf(to);
    const int fd = sys::native(socketFor(isMappedIPv4(destination)));
    if (fd < 0 || data.size() > most) {
        return 0;
    }
    std::array<mmsghdr, most> messages{};
    std::array<iovec, most> vectors{};
    sockaddr_in v4{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(data.size()); ++i) {
        vectors[i] = {const_cast<char*>(data.data() + i), 1};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        setDestination(messages[i].msg_hdr, destination, v4);
    }
    const int sent =
        ::sendmmsg(fd, messages.data(), static_cast<unsigned>(data.size()), MSG_DONTWAIT);
    return std::max(sent, 0);
}

void DatagramSocket::flushReplies() {
    const int count = std::exchange(queued_, 0);
    if (count == 0) {
        return;
    }
    std::array<mmsghdr, kBatch> messages{};
    std::array<iovec, kBatch> vectors{};
    std::array<sockaddr_in, kBatch> v4{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        vectors[i] = {batch_->replies[i].data(), static_cast<std::size_t>(batch_->replySizes[i])};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        setDestination(messages[i].msg_hdr, batch_->replyPeers[i], v4[i]);
    }
    // Each run of answers to one family leaves through that family's socket in one call.
    for (int start = 0; start < count;) {
        const NativeSocket socket =
            socketFor(isMappedIPv4(batch_->replyPeers[static_cast<std::size_t>(start)]));
        int end = start + 1;
        while (end < count && socketFor(isMappedIPv4(
                                  batch_->replyPeers[static_cast<std::size_t>(end)])) == socket) {
            ++end;
        }
        sendEach(sys::native(socket), messages.data() + start, end - start);
        start = end;
    }
}

} // namespace cvl
