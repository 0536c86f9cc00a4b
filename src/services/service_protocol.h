// What a time service does with its traffic once the listeners have taken it in: the answer
// to an accepted connection, to connection data, and to datagrams. The listeners own the
// sockets; a protocol only reads and writes them.
#pragma once

#include "net/datagram_socket.h"
#include "net/immediate_connection.h"
#include "net/stream_connection.h"

namespace cvl {

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
