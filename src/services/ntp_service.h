// NTP and SNTP: 48-byte requests answered with 48-byte replies over UDP and TCP; any other
// length is logged as an error and not answered. Its UDP socket also carries the answers to
// the server's own synchronisation queries, which are handed over instead of served.
#pragma once

#include "services/service_host.h"
#include "services/service_protocol.h"

namespace cvl {

class NtpService final : public ServiceProtocol {
public:
    NtpService(ServiceHost& host, ServiceActivity& activity, OwnQueryReplies& replies);

    void connectionAccepted(StreamConnection&, int) override {}
    void connectionReadyRead(StreamConnection& socket, int index) override;
    void connectionBytesWritten(StreamConnection& socket, int index) override;
    void datagramArrived(DatagramSocket& socket, const Datagram& datagram) override;

private:
    void serveDatagram(DatagramSocket& socket, const Datagram& request);
    // Builds the reply and sends it, on the connection when there is one, else to `to`.
    void sendReply(std::string_view request, const NtpTimestamp& receive,
                   StreamConnection* connection, DatagramSocket* socket, const PeerAddress& to);
    void logError(std::size_t size, int error, std::string_view client, std::int16_t port,
                  Transport transport);

    ServiceHost& host_;
    ServiceActivity& activity_;
    OwnQueryReplies& replies_;
};

} // namespace cvl
