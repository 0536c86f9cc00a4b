#include "platform/datagram_socket.h"
#include "platform/linux/bound_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace cvl {

DatagramSocket::DatagramSocket(QObject* parent)
    : QObject(parent)
    , buffers_(new char[static_cast<std::size_t>(kBatch) * kKeptBytes]) {}

DatagramSocket::~DatagramSocket() {
    close();
}

DatagramSocket::BindResult DatagramSocket::bind(quint16 port) {
    close();
    const BoundSocket bound = bindDualStack(SOCK_DGRAM, port);
    if (bound.fd < 0) {
        return bound.addressInUse ? BindResult::AddressInUse : BindResult::Failed;
    }
    fd_ = bound.fd;
    port_ = bound.port;
    watch_ = std::make_unique<ReadWatch>(fd_, [this] { emit readyRead(); });
    if (!watch_->isEnabled()) { // nobody would ever read it
        close();
        return BindResult::Failed;
    }
    return BindResult::Bound;
}

void DatagramSocket::close() {
    watch_.reset();
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
        port_ = 0;
    }
}

int DatagramSocket::receiveBatch() {
    if (fd_ < 0) {
        return 0;
    }
    std::array<mmsghdr, kBatch> messages{};
    std::array<iovec, kBatch> vectors{};
    for (std::size_t i = 0; i < messages.size(); ++i) {
        vectors[i] = {buffers_.get() + i * kKeptBytes, kKeptBytes};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &peers_[i];
        messages[i].msg_hdr.msg_namelen = sizeof peers_[i];
    }
    // MSG_TRUNC: each length is the datagram's own, even where less was kept.
    const int count = ::recvmmsg(fd_, messages.data(), kBatch, MSG_DONTWAIT | MSG_TRUNC, nullptr);
    for (int i = 0; i < count; ++i) {
        sizes_[static_cast<std::size_t>(i)] =
            static_cast<int>(messages[static_cast<std::size_t>(i)].msg_len);
    }
    return count < 0 ? 0 : count;
}

Datagram DatagramSocket::datagram(int index) {
    const auto i = static_cast<std::size_t>(index);
    Datagram datagram;
    datagram.size = sizes_[i];
    datagram.data =
        QByteArrayView(buffers_.get() + i * kKeptBytes, std::min(sizes_[i], kKeptBytes));
    datagram.sender.address = peers_[i];
    if (!(datagram.sender == lastPeer_) || lastPeerText_.isEmpty()) {
        lastPeer_ = datagram.sender;
        lastPeerText_ = datagram.sender.text();
    }
    datagram.senderText = lastPeerText_;
    return datagram;
}

bool DatagramSocket::send(QByteArrayView data, const PeerAddress& to) {
    if (fd_ < 0) {
        return false;
    }
    return ::sendto(fd_, data.data(), static_cast<std::size_t>(data.size()), MSG_DONTWAIT,
                    reinterpret_cast<const sockaddr*>(&to.address),
                    sizeof to.address) == data.size();
}

int DatagramSocket::sendBytewise(QByteArrayView data, const PeerAddress& to) {
    constexpr std::size_t most = 8;
    if (fd_ < 0 || data.size() > qsizetype{most}) {
        return 0;
    }
    std::array<mmsghdr, most> messages{};
    std::array<iovec, most> vectors{};
    sockaddr_in6 peer = to.address;
    for (std::size_t i = 0; i < static_cast<std::size_t>(data.size()); ++i) {
        vectors[i] = {const_cast<char*>(data.data() + i), 1};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &peer;
        messages[i].msg_hdr.msg_namelen = sizeof peer;
    }
    const int sent =
        ::sendmmsg(fd_, messages.data(), static_cast<unsigned>(data.size()), MSG_DONTWAIT);
    return std::max(sent, 0);
}

void DatagramSocket::sendWithBatch(QByteArrayView data, const PeerAddress& to) {
    if (!reading_ || data.size() > kQueuedBytes) {
        send(data, to);
        return;
    }
    const auto i = static_cast<std::size_t>(queued_++);
    std::copy(data.begin(), data.end(), replies_[i].begin());
    replySizes_[i] = static_cast<int>(data.size());
    replyPeers_[i] = to.address;
    if (queued_ == kBatch) {
        flushReplies();
    }
}

void DatagramSocket::flushReplies() {
    const int count = std::exchange(queued_, 0);
    if (fd_ < 0 || count == 0) {
        return;
    }
    std::array<mmsghdr, kBatch> messages{};
    std::array<iovec, kBatch> vectors{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        vectors[i] = {replies_[i].data(), static_cast<std::size_t>(replySizes_[i])};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &replyPeers_[i];
        messages[i].msg_hdr.msg_namelen = sizeof replyPeers_[i];
    }
    // sendmmsg stops at the first datagram the system refuses; that one is lost, as a single
    // send would lose it, and the rest still go.
    for (int sent = 0; sent < count;) {
        const int result = ::sendmmsg(fd_, messages.data() + sent,
                                      static_cast<unsigned>(count - sent), MSG_DONTWAIT);
        sent += result > 0 ? result : 1;
    }
}

bool DatagramSocket::send(QByteArrayView data, const QHostAddress& to, quint16 port) {
    PeerAddress peer;
    peer.address.sin6_family = AF_INET6;
    peer.address.sin6_port = htons(port);
    bool isV4 = false;
    const quint32 v4 = to.toIPv4Address(&isV4);
    if (isV4) {
        // An IPv4 destination is reached through its mapped form on this dual-stack socket.
        peer.address.sin6_addr.s6_addr[10] = 0xFF;
        peer.address.sin6_addr.s6_addr[11] = 0xFF;
        const quint32 network = htonl(v4);
        std::memcpy(peer.address.sin6_addr.s6_addr + 12, &network, 4);
    } else {
        const Q_IPV6ADDR v6 = to.toIPv6Address();
        std::memcpy(peer.address.sin6_addr.s6_addr, v6.c, 16);
    }
    return send(data, peer);
}

} // namespace cvl
