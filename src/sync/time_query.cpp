#include "sync/time_query.h"

#include "net/peer_address.h"
#include "text/leading_number.h"

#include <algorithm>

namespace cvl {

TimeQuery::TimeQuery(EventLoop& loop, Clock& clock, TimeBase& timeBase)
    : clock_(clock)
    , timeBase_(timeBase)
    , lookup_(loop) {}

void TimeQuery::send(DatagramSocket& socket, const std::string& host, std::uint16_t port) {
    socket_ = &socket;
    // A newer query replaces a pending lookup.
    lookup_.start(host, port,
                  [this](const std::vector<PeerAddress>& addresses) { lookedUp(addresses); });
}

void TimeQuery::lookedUp(const std::vector<PeerAddress>& addresses) {
    if (addresses.empty()) {
        onSendFailed();
        return;
    }
    // The reference identifier is an IPv4 address, so IPv4 is preferred.
    const auto v4 = std::find_if(addresses.begin(), addresses.end(),
                                 [](const PeerAddress& address) { return address.isIPv4(); });
    transmit(v4 != addresses.end() ? *v4 : addresses.front());
}

void TimeQuery::transmit(const PeerAddress& address) {
    if (socket_ == nullptr) {
        onSendFailed();
        return;
    }
    std::array<char, 48> request{};
    request[0] = 27; // leap indicator 0, version 3, mode 3 (client)
    std::copy(requestStamp_.begin(), requestStamp_.end(), request.begin() + 40);

    awaitingReply_ = true;
    sentTo_ = address;
    sendStamp_ = timeBase_.ntpNow().value_or(NtpTimestamp{});
    sendTicks_ = static_cast<std::int32_t>(clock_.tickCountMs());
    // With the NTP service's UDP socket closed, the query goes out from a socket bound just
    // for it, on a port of the system's choosing; the answer comes back there all the same.
    if (!socket_->isBound()) {
        socket_->bind(0);
    }
    if (!socket_->send(std::string_view(request.data(), request.size()), address)) {
        onSendFailed();
    } else {
        onSent();
    }
}

bool TimeQuery::isAnswer(std::string_view datagram, const PeerAddress& from, bool strict) const {
    if (!awaitingReply_ || datagram.size() < 32) {
        return false;
    }
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(datagram.data());
    if (bytes[24] != requestStamp_[0] || bytes[27] != requestStamp_[3] ||
        bytes[31] != requestStamp_[7]) {
        return false;
    }
    if (!strict) {
        return true;
    }
    if (datagram.size() < 48 || !(from == sentTo_) || from.port() != sentTo_.port()) {
        return false;
    }
    const int mode = bytes[0] & 7;
    const bool hasTransmitStamp =
        std::any_of(bytes + 40, bytes + 48, [](std::uint8_t byte) { return byte != 0; });
    return (mode == 4 || mode == 5) && hasTransmitStamp;
}

void TimeQuery::accept(std::string_view answer, const PeerAddress& from) {
    awaitingReply_ = false;
    sendTicks_ =
        static_cast<std::int32_t>(clock_.tickCountMs() - static_cast<std::uint32_t>(sendTicks_));
    const double localSendMs = GoMilli(sendStamp_.data());
    const double remoteMs = GoMilli(reinterpret_cast<const std::uint8_t*>(answer.data()) + 40);
    lastOffsetMs_ = remoteMs - localSendMs;

    const ClockSetting setting = clockSettingFor(remoteMs, sendTicks_);
    // A refusal (no privilege, a field out of range) changes nothing here: the server still
    // counts as synchronised. Whoever shows diagnostics reads lastClockStep().
    lastClockStep_ = clock_.setSystemTimeUtc(setting.utc);
    syncMessage_ = adjustedMessage(lastOffsetMs_);
    lastSyncTime_ = clock_.localNow();
    if (const std::optional<NtpTimestamp> stamp = timeBase_.ntpNow()) {
        lastSyncStamp_ = *stamp;
    }
    serverToolTip_ = syncToolTip(setting, syncMessage_);

    refServerIP_ = from.text();
    // The reference identifier: the leading number of each dotted part, so an IPv6
    // reference gives 0.0.0.0 as it always has.
    std::string_view rest = refServerIP_;
    for (std::uint8_t& byte : refAddress_) {
        const std::size_t dot = rest.find('.');
        byte = static_cast<std::uint8_t>(leadingNumber(rest.substr(0, dot)));
        rest = dot == std::string_view::npos ? std::string_view() : rest.substr(dot + 1);
    }
    onSynchronised();
}

} // namespace cvl
