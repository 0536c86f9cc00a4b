#include "platform/datagram_socket.h"
#include "platform/bound_socket.h"
#include "platform/datagram_batch.h"
#include "platform/socket_address.h"

#include <algorithm>

namespace cvl {

DatagramSocket::DatagramSocket(EventLoop& loop)
    : loop_(loop)
    , batch_(new Batch) {}

DatagramSocket::~DatagramSocket() {
    close();
}

DatagramSocket::BindResult DatagramSocket::bind(std::uint16_t port) {
    close();
    const BoundSockets bound = bindEveryAddress(SocketKind::Datagram, port);
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

NativeSocket DatagramSocket::socketFor(bool ipv4) const {
    return sockets_.fd(ipv4 ? FamilySockets::kIPv4 : FamilySockets::kIPv6);
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

} // namespace cvl
