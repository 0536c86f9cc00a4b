#include "core/tcp_socket_array.h"

namespace cvl {

TcpSocketArray::TcpSocketArray(EventLoop& loop, QObject* parent,
                               std::chrono::milliseconds idleLimit)
    : QObject(parent)
    , listener_(loop, this)
    , idleCheck_(loop, [this] { closeIdle(); })
    , idleLimit_(idleLimit) {
    idleCheck_.setInterval(
        std::max<std::chrono::milliseconds>(idleLimit / 6, std::chrono::milliseconds(50)));
}

void TcpSocketArray::accepted(int index) {
    lastActivity_[static_cast<std::size_t>(index - 1)] = std::chrono::steady_clock::now();
    if (!idleCheck_.isActive()) {
        idleCheck_.start();
    }
}

void TcpSocketArray::closeIdle() {
    const auto now = std::chrono::steady_clock::now();
    bool anyOpen = false;
    for (std::size_t i = 0; i < connections_.size(); ++i) {
        QTcpSocket* socket = connections_[i];
        if (socket->state() == QAbstractSocket::UnconnectedState) {
            continue;
        }
        if (now - lastActivity_[i] >= idleLimit_) {
            socket->abort();
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
        if (at(i).state() == QAbstractSocket::UnconnectedState) {
            return i;
        }
    }
    auto* socket = new QTcpSocket(this);
    connections_.push_back(socket);
    lastActivity_.emplace_back();
    const int index = upperBound();
    connect(socket, &QTcpSocket::readyRead, this, [this, index] {
        lastActivity_[static_cast<std::size_t>(index - 1)] = std::chrono::steady_clock::now();
        emit readyRead(index);
    });
    connect(socket, &QTcpSocket::bytesWritten, this,
            [this, index](qint64 bytes) { emit bytesWritten(index, bytes); });
    // A peer that goes away or fails simply closes its element, ready for reuse.
    connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::close);
    connect(socket, &QTcpSocket::errorOccurred, socket, &QTcpSocket::close);
    return index;
}

} // namespace cvl
