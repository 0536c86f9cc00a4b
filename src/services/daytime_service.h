// The Daytime protocol: one line of local date and time with the zone's name, and no line
// end. TCP clients get it and the connection closes; every UDP datagram gets it as one
// datagram.
#pragma once

#include "services/service_host.h"
#include "services/service_protocol.h"

namespace cvl {

class Clock;

class DaytimeService final : public ImmediateServiceProtocol {
public:
    DaytimeService(ServiceHost& host, ServiceActivity& activity, const Clock& clock);

    void answerAtOnce(ImmediateConnection& connection) override;
    void datagramArrived(DatagramSocket& socket, const Datagram& datagram) override;

private:
    [[nodiscard]] std::string replyText() const;

    ServiceHost& host_;
    ServiceActivity& activity_;
    const Clock& clock_;
    // The day and month names of the last reply, and its date.
    mutable std::string dayName_;
    mutable std::string monthName_;
    mutable int namesYear_ = 0;
    mutable int namesMonth_ = 0;
    mutable int namesDay_ = 0;
};

} // namespace cvl
