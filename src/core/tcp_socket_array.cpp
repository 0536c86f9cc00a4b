#include "core/tcp_socket_array.h"

namespace cvl {

TcpSocketArray::TcpSocketArray(QObject* parent, std::chrono::milliseconds idleLimit)
    : QObject(parent)
    , listener_(this)
    , idleCheck_(new QTimer(this))
    , idleLimit_(idleLimit) {
    clock_.start();
    idleCheck_->setInterval(
        std::max<std::chrono::milliseconds>(idleLimit / 6, std::chrono::milliseconds(50)));
    connect(idleCheck_, &QTimer::timeout, this, &TcpSocketArray::closeIdle);
}

void TcpSocketArray::accepted(int index) {
    lastActivityMs_[static_cast<std::size_t>(index - 1)] = clock_.elapsed();
    if (!idleCheck_->isActive()) {
        idleCheck_->start();
    }
}

void TcpSocketArray::closeIdle() {
    const qint64 now = clock_.elapsed();
    bool anyOpen = false;
    for (std::size_t i = 0; i < connections_.size(); ++i) {
        QTcpSocket* socket = connections_[i];
        if (socket->state() == QAbstractSocket::UnconnectedState) {
            continue;
        }
        if (now - lastActivityMs_[i] >= idleLimit_.count()) {
            socket->abort();
        } else {
            anyOpen = true;
        }
    }
    if (!anyOpen) {
        idleCheck_->stop();
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
    lastActivityMs_.push_back(0);
    const int index = upperBound();
    connect(socket, &QTcpSocket::readyRead, this, [this, index] {
        lastActivityMs_[static_cast<std::size_t>(index - 1)] = clock_.elapsed();
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
