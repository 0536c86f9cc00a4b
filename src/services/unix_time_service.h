// Unix time: four bytes of UTC seconds since 1970, a signed 32-bit number, most significant
// first, in a single write (one datagram over UDP). From 2038-01-19 03:14:07 UTC on the value
// no longer fits and nothing is sent.
#pragma once

#include "services/service_host.h"
#include "services/service_protocol.h"

namespace cvl {

class UnixTimeService final : public ServiceProtocol {
public:
    explicit UnixTimeService(ServiceHost& host);

    [[nodiscard]] bool answersAtOnce() const override { return true; }
    void answerAtOnce(ImmediateConnection& connection) override;
    void connectionAccepted(QTcpSocket&, int) override {}
    void connectionReadyRead(QTcpSocket&, int) override {}
    void connectionBytesWritten(QTcpSocket&, int) override {}
    void datagramArrived(DatagramSocket& socket, const Datagram& datagram) override;

private:
    ServiceHost& host_;
};

} // namespace cvl
