// The Time protocol: four bytes of UTC seconds since 1900, most significant first. Over TCP
// they go out as four one-byte writes before the connection closes; over UDP every datagram,
// whatever it holds, is answered with four datagrams of one byte each.
#pragma once

#include "services/service_host.h"
#include "services/service_protocol.h"

namespace cvl {

class TimeService final : public ImmediateServiceProtocol {
public:
    TimeService(ServiceHost& host, ServiceActivity& activity);

    void answerAtOnce(ImmediateConnection& connection) override;
    void datagramArrived(DatagramSocket& socket, const Datagram& datagram) override;

private:
    // Four datagrams of one byte each, once the clock has been set.
    void answerDatagram(DatagramSocket& socket, const Datagram& request);

    ServiceHost& host_;
    ServiceActivity& activity_;
};

} // namespace cvl
