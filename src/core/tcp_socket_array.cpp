#include "core/tcp_socket_array.h"

namespace cvl {

TcpSocketArray::TcpSocketArray(QObject* parent)
    : QObject(parent)
    , listener_(this) {
    // Room for bursts of clients while the event loop is busy elsewhere.
    listener_.setListenBacklogSize(4096);
}

int TcpSocketArray::freeIndex() {
    for (int i = 1; i <= upperBound(); ++i) {
        if (at(i).state() == QAbstractSocket::UnconnectedState) {
            return i;
        }
    }
    auto* socket = new QTcpSocket(this);
    connections_.push_back(socket);
    const int index = upperBound();
    connect(socket, &QTcpSocket::readyRead, this, [this, index] { emit readyRead(index); });
    connect(socket, &QTcpSocket::bytesWritten, this,
            [this, index](qint64 bytes) { emit bytesWritten(index, bytes); });
    // A peer that goes away or fails simply closes its element, ready for reuse.
    connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::close);
    connect(socket, &QTcpSocket::errorOccurred, socket, &QTcpSocket::close);
    return index;
}

} // namespace cvl
