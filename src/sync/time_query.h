// The server's own SNTP query: one 48-byte client request to a reference server, sent from
// the NTP service's UDP socket, and the acceptance of the answer, which steps the clock and
// records the reference that the NTP replies name. Host names are resolved without blocking;
// the send stamp and tick count are taken when the datagram actually leaves.
#pragma once

#include "platform/clock.h"
#include "platform/datagram_socket.h"
#include "platform/host_lookup.h"
#include "platform/peer_address.h"
#include "sync/clock_adjustment.h"
#include "timebase/time_base.h"

#include <QByteArrayView>
#include <QObject>
#include <QPointer>
#include <array>

namespace cvl {

class TimeQuery final : public QObject {
    Q_OBJECT
public:
    TimeQuery(EventLoop& loop, Clock& clock, TimeBase& timeBase, QObject* parent = nullptr);
    ~TimeQuery() override;

    // Sends one request to host:port from `socket`; sendFailed() when that cannot be done.
    void send(DatagramSocket& socket, const QString& host, quint16 port);

    [[nodiscard]] bool AwaitingReply() const { return awaitingReply_; }
    // Whether a 48-byte datagram answers the query: only bytes 24, 27 and 31 are compared with
    // the request's transmit stamp, which is all zero. So any client's ordinary request
    // matches too; `strict` also asks for the address and port the query went to, server or
    // broadcast mode and a transmit stamp.
    [[nodiscard]] bool isAnswer(QByteArrayView datagram, const PeerAddress& from,
                                bool strict = false) const;
    // Takes an answer: steps the clock and records the reference. Emits synchronised().
    void accept(QByteArrayView answer, const PeerAddress& from);

    [[nodiscard]] const QString& SyncMessage() const { return syncMessage_; }
    [[nodiscard]] const QString& serverToolTip() const { return serverToolTip_; }
    [[nodiscard]] const LocalDateTime& LastSyncTime() const { return lastSyncTime_; }
    [[nodiscard]] const NtpTimestamp& LastSyncStamp() const { return lastSyncStamp_; }
    [[nodiscard]] const QString& RefServerIP() const { return refServerIP_; }
    [[nodiscard]] const std::array<std::uint8_t, 4>& RefAddress() const { return refAddress_; }
    [[nodiscard]] double LastOffsetMs() const { return lastOffsetMs_; }
    [[nodiscard]] std::int32_t roundTripMs() const { return sendTicks_; }

signals:
    void sendFailed();
    void sent();
    void synchronised();

private:
    void lookedUp(const std::vector<PeerAddress>& addresses);
    void transmit(const PeerAddress& address);

    Clock& clock_;
    TimeBase& timeBase_;

    // The query in flight.
    QPointer<DatagramSocket> socket_;
    HostLookup lookup_;
    PeerAddress sentTo_;
    bool awaitingReply_ = false;
    NtpTimestamp requestStamp_{}; // never filled: requests go out with a zero transmit stamp
    NtpTimestamp sendStamp_{};
    std::int32_t sendTicks_ = 0; // tick count at sending, then the round trip

    // The last accepted answer.
    double lastOffsetMs_ = 0;
    QString syncMessage_;
    QString serverToolTip_;
    LocalDateTime lastSyncTime_;
    NtpTimestamp lastSyncStamp_{};
    QString refServerIP_;
    std::array<std::uint8_t, 4> refAddress_{};
};

} // namespace cvl
