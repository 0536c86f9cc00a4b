// What a time service needs from the server it runs in, in three narrow parts: what it answers
// with (the clock-set flag, the time base, the NTP reference) and where its records go; what
// the display counts and shows of its traffic; and, for the NTP service alone, the server's
// own query whose answers arrive on its socket.
#pragma once

#include "log/request_record.h"
#include "net/peer_address.h"
#include "services/lamp.h"
#include "services/ntp_reply.h"
#include "services/service_id.h"
#include "timebase/time_base.h"

#include <cstdint>
#include <string_view>

namespace cvl {

class ServiceHost {
public:
    virtual ~ServiceHost() = default;

    // False until the clock has been set once from a reference server; no answer before.
    [[nodiscard]] virtual bool timeSynced() const = 0;
    [[nodiscard]] virtual bool useJulian() const = 0;
    [[nodiscard]] virtual TimeBase& timeBase() = 0;
    [[nodiscard]] virtual NtpReference ntpReference() const = 0;
    // One record of the request log (nothing when logging is off).
    virtual void logRequest(const RequestRecord& record) = 0;
};

class ServiceActivity {
public:
    virtual ~ServiceActivity() = default;

    // Counts one request; false when the count would overflow.
    virtual bool countRequest(ServiceId id, Transport transport) = 0;
    // The client in remote-host box `box`; a traffic lamp.
    virtual void showClient(int box, std::string_view address) = 0;
    virtual void light(Lamp lamp) = 0;
    // The millisecond reading behind the last NTP transmit timestamp.
    virtual void noteNtpMilliseconds(int ms) = 0;
};

// The NTP service shares its UDP socket with the server's own query: while a query is out, an
// answer that matches it is the query's, not a request to serve.
class OwnQueryReplies {
public:
    virtual ~OwnQueryReplies() = default;

    [[nodiscard]] virtual bool awaitingReply() const = 0;
    [[nodiscard]] virtual bool isAnswer(std::string_view datagram,
                                        const PeerAddress& from) const = 0;
    virtual void acceptAnswer(std::string_view answer, const PeerAddress& from) = 0;
    // A one-byte datagram while waiting: the query failed, try another server.
    virtual void datagramFailed() = 0;
};

// The port a socket serves on, as the log records it (16 bits, signed).
[[nodiscard]] inline std::int16_t loggedPort(std::uint16_t port) {
    return static_cast<std::int16_t>(port);
}

} // namespace cvl
