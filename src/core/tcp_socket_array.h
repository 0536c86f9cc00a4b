// One service's TCP sockets: element 0 listens, elements 1 and up carry accepted connections.
// Connection sockets are created on demand and never destroyed; a closed one is reused for
// the next client, so the array only grows to the most simultaneous clients seen.
#pragma once

#include <QTcpServer>
#include <QTcpSocket>
#include <vector>

namespace cvl {

// A listener that hands each pending connection over as a bare descriptor, so that it can be
// adopted by a reused socket instead of a fresh one.
class TcpListener final : public QTcpServer {
    Q_OBJECT
public:
    using QTcpServer::QTcpServer;

signals:
    void connectionRequested(qintptr descriptor);

protected:
    void incomingConnection(qintptr descriptor) override { emit connectionRequested(descriptor); }
};

class TcpSocketArray final : public QObject {
    Q_OBJECT
public:
    explicit TcpSocketArray(QObject* parent = nullptr);

    [[nodiscard]] TcpListener& listener() { return listener_; }
    [[nodiscard]] const TcpListener& listener() const { return listener_; }

    // Index of a closed connection socket, loading a new element when none is free.
    [[nodiscard]] int freeIndex();
    [[nodiscard]] QTcpSocket& at(int index) { return *connections_[index - 1]; }
    // Highest element index in use (0 while only the listener exists).
    [[nodiscard]] int upperBound() const { return static_cast<int>(connections_.size()); }

signals:
    void readyRead(int index);
    void bytesWritten(int index, qint64 bytes);

private:
    TcpListener listener_;
    std::vector<QTcpSocket*> connections_; // owned through Qt parenting
};

} // namespace cvl
