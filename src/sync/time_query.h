// The server's own SNTP query: one 48-byte client request to a reference server, sent from
// the NTP service's UDP socket, and the acceptance of the answer, which steps the clock and
// records the reference that the NTP replies name. Host names are resolved without blocking;
// the send stamp and tick count are taken when the datagram actually leaves.
#pragma once

#include "net/datagram_socket.h"
#include "net/host_lookup.h"
#include "net/peer_address.h"
#include "sync/clock_adjustment.h"
#include "timebase/clock.h"
#include "timebase/time_base.h"

#include <array>
#include <functional>
#include <string>
#include <string_view>

namespace cvl {

class TimeQuery final {
public:
    TimeQuery(EventLoop& loop, Clock& clock, TimeBase& timeBase);

    // Sends one request to host:port from `socket`; onSendFailed when that cannot be done.
    void send(DatagramSocket& socket, const std::string& host, std::uint16_t port);

    [[nodiscard]] bool awaitingReply() const { return awaitingReply_; }
    // Whether a 48-byte datagram answers the query: only bytes 24, 27 and 31 are compared with
    // the request's transmit stamp, which is all zero. So any client's ordinary request
    // matches too; `strict` also asks for the address and port the query went to, server or
    // broadcast mode and a transmit stamp.
    [[nodiscard]] bool isAnswer(std::string_view datagram, const PeerAddress& from,
                                bool strict = false) const;
    // Takes an answer: steps the clock and records the reference, then onSynchronised.
    void accept(std::string_view answer, const PeerAddress& from);

    [[nodiscard]] const std::string& syncMessage() const { return syncMessage_; }
    [[nodiscard]] const std::string& serverToolTip() const { return serverToolTip_; }
    [[nodiscard]] const LocalDateTime& lastSyncTime() const { return lastSyncTime_; }
    [[nodiscard]] const NtpTimestamp& lastSyncStamp() const { return lastSyncStamp_; }
    [[nodiscard]] const std::string& referenceAddressText() const { return refServerIP_; }
    [[nodiscard]] const std::array<std::uint8_t, 4>& referenceId() const { return refAddress_; }
    [[nodiscard]] double lastOffsetMs() const { return lastOffsetMs_; }
    [[nodiscard]] std::int32_t roundTripMs() const { return sendTicks_; }
    // How the last answer's step of the system clock went.
    [[nodiscard]] const ClockStep& lastClockStep() const { return lastClockStep_; }

    std::function<void()> onSendFailed;
    std::function<void()> onSent;
    std::function<void()> onSynchronised;

private:
    void lookedUp(const std::vector<PeerAddress>& addresses);
    void transmit(const PeerAddress& address);

    Clock& clock_;
    TimeBase& timeBase_;

    // The query in flight.
    DatagramSocket* socket_ = nullptr;
    HostLookup lookup_;
    PeerAddress sentTo_;
    bool awaitingReply_ = false;
    NtpTimestamp requestStamp_{}; // never filled: requests go out with a zero transmit stamp
    NtpTimestamp sendStamp_{};
    std::int32_t sendTicks_ = 0; // tick count at sending, then the round trip

    // The last accepted answer.
    double lastOffsetMs_ = 0;
    std::string syncMessage_;
    std::string serverToolTip_;
    LocalDateTime lastSyncTime_;
    NtpTimestamp lastSyncStamp_{};
    std::string refServerIP_;
    std::array<std::uint8_t, 4> refAddress_{};
    ClockStep lastClockStep_;
};

} // namespace cvl
