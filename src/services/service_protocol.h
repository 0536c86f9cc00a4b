// What a time service does with its traffic once the listeners have taken it in: the answer
// to an accepted connection, to connection data, and to datagrams. The listeners own the
// sockets; a protocol only reads and writes them.
#pragma once

#include "platform/datagram_socket.h"

#include "platform/stream_connection.h"

#include <QString>

namespace cvl {

// An accepted connection that is answered and closed before its handler returns: no socket
// object and no round of the event loop, only the descriptor. Closing it lets the kernel send
// what was written and then end the stream.
class ImmediateConnection {
public:
    ImmediateConnection(int descriptor, QString peer, quint16 localPort);
    ~ImmediateConnection();
    ImmediateConnection(const ImmediateConnection&) = delete;
    ImmediateConnection& operator=(const ImmediateConnection&) = delete;

    // False when the system refused the bytes (the peer is gone, say).
    bool send(QByteArrayView data);
    [[nodiscard]] const QString& peerText() const { return peer_; }
    [[nodiscard]] quint16 localPort() const { return localPort_; }

private:
    int descriptor_;
    QString peer_;
    quint16 localPort_;
};

class ServiceProtocol {
public:
    virtual ~ServiceProtocol() = default;

    // Services that answer as soon as a client connects, and never read, are handed the bare
    // connection; the others get a connection socket of the service's array.
    [[nodiscard]] virtual bool answersAtOnce() const { return false; }
    virtual void answerAtOnce(ImmediateConnection&) {}

    // A client was accepted on element `index` of the service's socket array.
    virtual void connectionAccepted(StreamConnection& socket, int index) = 0;
    virtual void connectionReadyRead(StreamConnection& socket, int index) = 0;
    virtual void connectionBytesWritten(StreamConnection& socket, int index) = 0;
    // A datagram arrived on the service's UDP socket.
    virtual void datagramArrived(DatagramSocket& socket, const Datagram& datagram) = 0;
};

// A service that answers each client the moment it connects and never reads from it.
class ImmediateServiceProtocol : public ServiceProtocol {
public:
    [[nodiscard]] bool answersAtOnce() const final { return true; }
    void connectionAccepted(StreamConnection&, int) final {}
    void connectionReadyRead(StreamConnection&, int) final {}
    void connectionBytesWritten(StreamConnection&, int) final {}
};

// Takes everything in and answers nothing: the reply of a service whose answer is empty.
class SilentProtocol final : public ServiceProtocol {
public:
    void connectionAccepted(StreamConnection&, int) override {}
    void connectionReadyRead(StreamConnection& socket, int) override {
        (void)socket.takeReceived();
    }
    void connectionBytesWritten(StreamConnection&, int) override {}
    void datagramArrived(DatagramSocket&, const Datagram&) override {}
};

} // namespace cvl
