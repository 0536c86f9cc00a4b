// What a time service does with its traffic once the listeners have taken it in: the answer
// to an accepted connection, to connection data, and to datagrams. The listeners own the
// sockets; a protocol only reads and writes them.
#pragma once

#include "platform/datagram_socket.h"

#include <QTcpSocket>

namespace cvl {

class ServiceProtocol {
public:
    virtual ~ServiceProtocol() = default;

    // A client was accepted on element `index` of the service's socket array.
    virtual void connectionAccepted(QTcpSocket& socket, int index) = 0;
    virtual void connectionReadyRead(QTcpSocket& socket, int index) = 0;
    virtual void connectionBytesWritten(QTcpSocket& socket, int index) = 0;
    // A datagram arrived on the service's UDP socket.
    virtual void datagramArrived(DatagramSocket& socket, const Datagram& datagram) = 0;
};

// Takes everything in and answers nothing: the reply of a service whose answer is empty.
class SilentProtocol final : public ServiceProtocol {
public:
    void connectionAccepted(QTcpSocket&, int) override {}
    void connectionReadyRead(QTcpSocket& socket, int) override {
        socket.skip(socket.bytesAvailable());
    }
    void connectionBytesWritten(QTcpSocket&, int) override {}
    void datagramArrived(DatagramSocket&, const Datagram&) override {}
};

} // namespace cvl
