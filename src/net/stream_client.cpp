#include "net/stream_client.h"
#include "net/peer_address.h"
#include "net/peer_socket_address.h"
#include "net/socket_reading.h"

namespace cvl {

StreamClient::StreamClient(EventLoop& loop)
    : loop_(loop)
    , lookup_(loop) {}

StreamClient::~StreamClient() {
    close();
}

void StreamClient::connectToHost(const std::string& host, std::uint16_t port) {
    close();
    lookup_.start(host, port,
                  [this](const std::vector<PeerAddress>& addresses) { lookedUp(addresses); });
}

void StreamClient::lookedUp(const std::vector<PeerAddress>& addresses) {
    if (addresses.empty()) {
        fail();
        return;
    }
    const sockaddr_in6 address = socketAddressOf(addresses.front());
    const bool v4 = isMappedIPv4(address);
    const sockaddr_in unmapped = unmappedIPv4(address);
    descriptor_ = sys::openSocket(v4 ? AF_INET : AF_INET6, SOCK_STREAM);
    if (descriptor_ < 0) {
        fail();
        return;
    }
    const sys::SystemSocket socket = sys::native(descriptor_);
    const int result =
        v4 ? ::connect(socket, reinterpret_cast<const sockaddr*>(&unmapped), sizeof unmapped)
           : ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    // Done at once or under way: either way writability tells the outcome. (Winsock says a
    // connection under way would block.)
    const sys::Failure failure = result == 0 ? sys::Failure::InProgress : sys::lastFailure();
    if (failure != sys::Failure::InProgress && failure != sys::Failure::WouldBlock) {
        fail();
        return;
    }
    const bool watched =
        watch_.start(loop_, descriptor_, EventLoop::Writable, [this](unsigned ready) {
            if ((ready & EventLoop::Writable) != 0 && watch_.interest() == EventLoop::Writable) {
                connectionReady();
            } else {
                readable();
            }
        });
    if (!watched) {
        fail();
    }
}

void StreamClient::connectionReady() {
    int error = 0;
    sys::SocketLength length = sizeof error;
    if (::getsockopt(sys::native(descriptor_), SOL_SOCKET, SO_ERROR,
                     reinterpret_cast<char*>(&error), &length) != 0 ||
        error != 0) {
        fail();
        return;
    }
    watch_.setInterest(EventLoop::Readable);
    if (onConnected) {
        onConnected();
    }
}

bool StreamClient::write(std::string_view bytes) {
    if (descriptor_ < 0) {
        return false;
    }
    return ::send(sys::native(descriptor_), bytes.data(), static_cast<int>(bytes.size()),
                  sys::kSendFlags) >= 0;
}

void StreamClient::readable() {
    std::string chunk;
    const ReadEnd end = readWaiting(descriptor_, chunk, 64);
    // What arrived before the end is handed on first; a handler may close or reconnect.
    const std::uint64_t connection = generation_;
    if (!chunk.empty() && onReceived) {
        onReceived(chunk);
    }
    if (generation_ != connection) {
        return;
    }
    if (end == ReadEnd::Broken) {
        fail();
    } else if (end == ReadEnd::Ended) {
        close();
        if (onEnded) {
            onEnded();
        }
    }
}

void StreamClient::fail() {
    close();
    if (onFailed) {
        onFailed();
    }
}

void StreamClient::close() {
    ++generation_;
    lookup_.cancel();
    watch_.reset();
    if (descriptor_ >= 0) {
        sys::closeSocket(descriptor_);
        descriptor_ = sys::kNoSocket;
    }
}

} // namespace cvl
