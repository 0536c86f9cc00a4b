#include "core/tcp_socket_array.h"

#include <algorithm>

namespace cvl {

TcpSocketArray::TcpSocketArray(EventLoop& loop, std::chrono::milliseconds idleLimit)
    : loop_(loop)
    , listener_(loop)
    , idleCheck_(loop, [this] { closeIdle(); })
    , idleLimit_(idleLimit) {
    idleCheck_.setInterval(
        std::max<std::chrono::milliseconds>(idleLimit / 6, std::chrono::milliseconds(50)));
}

void TcpSocketArray::accepted(int index) {
    lastActivity_[static_cast<std::size_t>(index - 1)] = loop_.now();
    if (!idleCheck_.isActive()) {
        idleCheck_.start();
    }
}

void TcpSocketArray::closeIdle() {
    const auto now = loop_.now();
    bool anyOpen = false;
    for (std::size_t i = 0; i < connections_.size(); ++i) {
        StreamConnection& connection = *connections_[i];
        if (!connection.isOpen()) {
            continue;
        }
        if (now - lastActivity_[i] >= idleLimit_) {
            connection.abort();
        } else {
            anyOpen = true;
        }
    }
    if (!anyOpen) {
        idleCheck_.stop();
    }
}

int TcpSocketArray::freeIndex() {
    for (int i = 1; i <= upperBound(); ++i) {
        if (!at(i).isOpen()) {
            return i;
        }
    }
    connections_.push_back(std::make_unique<StreamConnection>(loop_));
    lastActivity_.emplace_back();
    const int index = upperBound();
    StreamConnection& connection = *connections_.back();
    connection.onReceived = [this, index] {
        lastActivity_[static_cast<std::size_t>(index - 1)] = loop_.now();
        if (onReceived) {
            onReceived(index);
        }
    };
    connection.onWritten = [this, index] {
        if (onWritten) {
            onWritten(index);
        }
    };
    return index;
}

} // namespace cvl
