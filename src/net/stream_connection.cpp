#include "net/stream_connection.h"
#include "net/socket_reading.h"

#include "socket_system.h"

#include <utility>

namespace cvl {

namespace {

// Per pass of the loop, so that one talkative client cannot hold up the others.
constexpr int kReadRoundsPerPass = 4;

} // namespace

StreamConnection::StreamConnection(EventLoop& loop)
    : loop_(loop) {}

bool StreamConnection::adopt(NativeSocket socket, const PeerAddress& peer,
                             std::uint16_t localPort) {
    abort();
    if (!watch_.start(loop_, socket, EventLoop::Readable,
                      [this](unsigned readiness) { ready(readiness); })) {
        sys::closeSocket(socket);
        return false;
    }
    socket_ = socket;
    peer_ = peer;
    localPort_ = localPort;
    return true;
}

std::string StreamConnection::takeReceived() {
    std::string taken;
    taken.swap(received_);
    return taken;
}

bool StreamConnection::write(std::string_view bytes) {
    if (!isOpen() || closing_) {
        return false;
    }
    unsent_.append(bytes);
    sendUnsent();
    if (!isOpen()) {
        return false;
    }
    writtenToTell_ = true;
    updateInterest();
    return true;
}

void StreamConnection::close() {
    if (!isOpen()) {
        return;
    }
    closing_ = true;
    if (unsent_.empty()) {
        // The end follows the last bytes, even when the client left some of ours unread.
        ::shutdown(sys::native(socket_), sys::kEndSending);
        abort();
    } else {
        updateInterest();
    }
}

void StreamConnection::reset() {
    if (socket_ >= 0) {
        const linger now{1, 0};
        ::setsockopt(sys::native(socket_), SOL_SOCKET, SO_LINGER,
                     reinterpret_cast<const char*>(&now), sizeof now);
    }
    abort();
}

void StreamConnection::abort() {
    ++generation_;
    watch_.reset();
    if (socket_ >= 0) {
        sys::closeSocket(socket_);
        socket_ = sys::kNoSocket;
    }
    received_.clear();
    unsent_.clear();
    writtenToTell_ = false;
    closing_ = false;
}

void StreamConnection::ready(unsigned readiness) {
    if ((readiness & EventLoop::Readable) != 0) {
        readAvailable();
    }
    if ((readiness & EventLoop::Writable) != 0 && isOpen()) {
        sendUnsent();
        if (isOpen() && unsent_.empty()) {
            if (closing_) {
                close();
                return;
            }
            if (std::exchange(writtenToTell_, false)) {
                updateInterest();
                if (onWritten) {
                    onWritten();
                }
                return;
            }
        }
        if (isOpen()) {
            updateInterest();
        }
    }
}

void StreamConnection::readAvailable() {
    const ReadEnd end = readWaiting(socket_, received_, kReadRoundsPerPass);
    // What came before the end is handed on first; the handler may close the connection.
    const std::uint64_t connection = generation_;
    if (!received_.empty() && onReceived) {
        onReceived();
    }
    if (generation_ != connection) {
        return;
    }
    if (end == ReadEnd::Broken) {
        abort();
    } else if (end == ReadEnd::Ended) {
        close();
    }
}

void StreamConnection::sendUnsent() {
    while (!unsent_.empty()) {
        const auto sent = ::send(sys::native(socket_), unsent_.data(),
                                 static_cast<int>(unsent_.size()), sys::kSendFlags);
        if (sent < 0) {
            if (sys::lastFailure() != sys::Failure::WouldBlock) {
                abort();
            }
            return;
        }
        unsent_.erase(0, static_cast<std::size_t>(sent));
    }
}

void StreamConnection::updateInterest() {
    // Writable is asked for while bytes wait, and once more after a write so that the notice
    // of the bytes having gone comes from the loop, not from inside write().
    const bool wantsWrite = !unsent_.empty() || writtenToTell_;
    watch_.setInterest((closing_ ? 0u : unsigned{EventLoop::Readable}) |
                       (wantsWrite ? unsigned{EventLoop::Writable} : 0u));
}

} // namespace cvl
