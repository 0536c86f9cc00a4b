// Unix time: four bytes of UTC seconds since 1970, a signed 32-bit number, most significant
// first, in a single write (one datagram over UDP). From 2038-01-19 03:14:07 UTC on the value
// no longer fits and nothing is sent.
#pragma once

#include "services/service_host.h"
#include "services/service_protocol.h"

namespace cvl {

class UnixTimeService final : public ImmediateServiceProtocol {
public:
    UnixTimeService(ServiceHost& host, ServiceActivity& activity);

    void answerAtOnce(ImmediateConnection& connection) override;
    void datagramArrived(DatagramSocket& socket, const Datagram& datagram) override;

private:
    ServiceHost& host_;
    ServiceActivity& activity_;
};

} // namespace cvl
