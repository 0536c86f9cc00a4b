#include "net/datagram_socket.h"
#include "net/bound_socket.h"
#include "net/peer_socket_address.h"
#include "platform/datagram_calls.h"

#include <algorithm>
#include <span>
#include <utility>

namespace cvl {

struct DatagramSocket::Batch {
    // Left uninitialised: untouched pages of an idle socket cost no memory.
    std::array<char, static_cast<std::size_t>(kBatch) * kKeptBytes> buffers;
    std::array<sys::ReceivedDatagram, kBatch> received{};
    std::array<std::array<char, kQueuedBytes>, kBatch> replies{};
    std::array<sys::OutgoingDatagram, kBatch> outgoing{};
};

DatagramSocket::DatagramSocket(EventLoop& loop)
    : loop_(loop)
    , batch_(new Batch) {
    // Each slot keeps its own stretch of the buffers for good.
    for (std::size_t i = 0; i < batch_->received.size(); ++i) {
        batch_->received[i].buffer = batch_->buffers.data() + i * kKeptBytes;
        batch_->received[i].capacity = kKeptBytes;
    }
}

DatagramSocket::~DatagramSocket() {
    close();
}

OpenResult DatagramSocket::bind(std::uint16_t port) {
    close();
    const BoundSockets bound = bindEveryAddress(SocketKind::Datagram, port);
    if (!bound.bound()) {
        return {false, bound.error};
    }
    sockets_.adopt(bound);
    const bool watched = sockets_.watch(loop_, [this](std::size_t family) {
        ready_ = family;
        if (onReadable) {
            onReadable();
        }
    });
    if (!watched) {
        close();
        return {false, {sys::Failure::OutOfResources, "the event loop cannot watch the socket"}};
    }
    port_ = bound.port;
    return {true, {}};
}

void DatagramSocket::close() {
    sockets_.close();
    port_ = 0;
}

NativeSocket DatagramSocket::socketFor(bool ipv4) const {
    return sockets_.fd(ipv4 ? FamilySockets::kIPv4 : FamilySockets::kIPv6);
}

Datagram DatagramSocket::datagram(int index) {
    const sys::ReceivedDatagram& received = batch_->received[static_cast<std::size_t>(index)];
    Datagram datagram;
    datagram.size = static_cast<std::size_t>(received.size);
    datagram.data = std::string_view(received.buffer,
                                     static_cast<std::size_t>(std::min(received.size, kKeptBytes)));
    datagram.sender = peerFromSocketAddress(received.sender);
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
    batch_->outgoing[i] = {std::string_view(batch_->replies[i].data(), data.size()),
                           socketAddressOf(to)};
    if (queued_ == kBatch) {
        flushReplies();
    }
}

int DatagramSocket::receiveBatch() {
    const NativeSocket socket = sockets_.fd(ready_);
    if (socket < 0) {
        return 0;
    }
    return sys::receiveDatagrams(socket, ready_ == FamilySockets::kIPv4, batch_->received);
}

bool DatagramSocket::send(std::string_view data, const PeerAddress& to) {
    const sockaddr_in6 destination = socketAddressOf(to);
    return sys::sendDatagram(socketFor(isMappedIPv4(destination)), data, destination);
}

int DatagramSocket::sendBytewise(std::string_view data, const PeerAddress& to) {
    const sockaddr_in6 destination = socketAddressOf(to);
    return sys::sendEachByte(socketFor(isMappedIPv4(destination)), data, destination);
}

void DatagramSocket::flushReplies() {
    const auto count = static_cast<std::size_t>(std::exchange(queued_, 0));
    const std::span<const sys::OutgoingDatagram> outgoing(batch_->outgoing.data(), count);
    // Each run of answers to one family leaves through that family's socket in one call.
    for (std::size_t start = 0; start < count;) {
        const bool ipv4 = isMappedIPv4(outgoing[start].to);
        std::size_t end = start + 1;
        while (end < count && isMappedIPv4(outgoing[end].to) == ipv4) {
            ++end;
        }
        sys::sendDatagrams(socketFor(ipv4), outgoing.subspan(start, end - start));
        start = end;
    }
}

} // namespace cvl
