#include "platform/datagram_socket.h"
#include "platform/linux/bound_socket.h"
#include "platform/linux/mapped_address.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace cvl {

namespace {

constexpr std::size_t kIPv4 = FamilySockets::kIPv4;
constexpr std::size_t kIPv6 = FamilySockets::kIPv6;

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

struct DatagramSocket::Batch {
    // Left uninitialised: untouched pages of an idle socket cost no memory.
    std::array<char, static_cast<std::size_t>(kBatch) * kKeptBytes> buffers;
    std::array<sockaddr_in6, kBatch> peers{};
    std::array<int, kBatch> sizes{};
    std::array<std::array<char, kQueuedBytes>, kBatch> replies{};
    std::array<int, kBatch> replySizes{};
    std::array<sockaddr_in6, kBatch> replyPeers{};
};

DatagramSocket::DatagramSocket(EventLoop& loop)
    : loop_(loop)
    , batch_(new Batch) {}

DatagramSocket::~DatagramSocket() {
    close();
}

DatagramSocket::BindResult DatagramSocket::bind(std::uint16_t port) {
    close();
    const BoundSockets bound = bindEveryAddress(SOCK_DGRAM, port);
    if (!bound.bound()) {
        return bound.addressInUse ? BindResult::AddressInUse : BindResult::Failed;
    }
    sockets_.adopt(bound);
    const bool watched = sockets_.watch(loop_, [this](std::size_t family) {
        ready_ = family;
        if (onReadable) {
            onReadable();
        }
    });
    if (!watched) {
        return BindResult::Failed;
    }
    port_ = bound.port;
    return BindResult::Bound;
}

void DatagramSocket::close() {
    sockets_.close();
    port_ = 0;
}

int DatagramSocket::socketFor(bool ipv4) const {
    return sockets_.fd(ipv4 ? kIPv4 : kIPv6);
}

int DatagramSocket::receiveBatch() {
    const int fd = sockets_.fd(ready_);
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

Datagram DatagramSocket::datagram(int index) {
    const auto i = static_cast<std::size_t>(index);
    Datagram datagram;
    datagram.size = static_cast<std::size_t>(batch_->sizes[i]);
    datagram.data =
        std::string_view(batch_->buffers.data() + i * kKeptBytes,
                         static_cast<std::size_t>(std::min(batch_->sizes[i], kKeptBytes)));
    datagram.sender = peerFromSocketAddress(batch_->peers[i]);
    if (!(datagram.sender == lastPeer_) || lastPeerText_.empty()) {
        lastPeer_ = datagram.sender;
        lastPeerText_ = datagram.sender.text();
    }
    datagram.senderText = lastPeerText_;
    return datagram;
}

bool DatagramSocket::send(std::string_view data, const PeerAddress& to) {
    msghdr header{};
    iovec vector{const_cast<char*>(data.data()), static_cast<std::size_t>(data.size())};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    sockaddr_in v4{};
    const sockaddr_in6 destination = socketAddressOf(to);
    setDestination(header, destination, v4);
    const int fd = socketFor(isMappedIPv4(destination));
    return fd >= 0 && ::sendmsg(fd, &header, MSG_DONTWAIT) == static_cast<ssize_t>(data.size());
}

int DatagramSocket::sendBytewise(std::string_view data, const PeerAddress& to) {
    constexpr std::size_t most = 8;
    const sockaddr_in6 destination = socketAddressOf(to);
    const int fd = socketFor(isMappedIPv4(destination));
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

void DatagramSocket::sendWithBatch(std::string_view data, const PeerAddress& to) {
    if (!reading_ || data.size() > std::size_t{kQueuedBytes}) {
        send(data, to);
        return;
    }
    const auto i = static_cast<std::size_t>(queued_++);
    std::copy(data.begin(), data.end(), batch_->replies[i].begin());
    batch_->replySizes[i] = static_cast<int>(data.size());
    batch_->replyPeers[i] = socketAddressOf(to);
    if (queued_ == kBatch) {
        flushReplies();
    }
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
        const int fd = socketFor(isMappedIPv4(batch_->replyPeers[static_cast<std::size_t>(start)]));
        int end = start + 1;
        while (end < count &&
               socketFor(isMappedIPv4(batch_->replyPeers[static_cast<std::size_t>(end)])) == fd) {
            ++end;
        }
        sendEach(fd, messages.data() + start, end - start);
        start = end;
    }
}

} // namespace cvl
