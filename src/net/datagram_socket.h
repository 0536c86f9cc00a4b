// A UDP socket for the time services, built for many small requests: IPv4 and IPv6, read in
// batches of datagrams per system call, each sender's address kept as the kernel gave it and
// shown as text without detours. One per service; the event loop says when to read.
#pragma once

#include "net/family_sockets.h"
#include "net/open_result.h"
#include "net/peer_address.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace cvl {

struct Datagram {
    // The datagram's bytes; only its first kept bytes when it was longer than that.
    std::string_view data;
    // Its length as sent, however much was kept.
    std::size_t size = 0;
    PeerAddress sender;
    // Valid while the datagram is handled: the socket keeps the text of its last sender.
    std::string_view senderText;
};

class DatagramSocket final {
public:
    explicit DatagramSocket(EventLoop& loop);
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    // Binds to every address on `port` (0: any free one), not sharing it with anybody.
    OpenResult bind(std::uint16_t port);
    void close();
    [[nodiscard]] bool isBound() const { return sockets_.isOpen(); }
    [[nodiscard]] std::uint16_t localPort() const { return port_; }

    // Takes every waiting datagram (up to a bounded number per call, so that one busy port
    // cannot starve the others; the event loop calls again while more wait).
    template <typename Handle> void readPending(Handle&& handle) {
        for (int round = 0; round < kRoundsPerCall; ++round) {
            const int count = receiveBatch();
            reading_ = true;
            for (int i = 0; i < count; ++i) {
                handle(datagram(i));
            }
            reading_ = false;
            flushReplies();
            if (count < kBatch) {
                return;
            }
        }
    }

    // Sends one datagram; false when the system refuses it.
    bool send(std::string_view data, const PeerAddress& to);
    // Sends each byte of `data` as a datagram of its own, in order, in one system call.
    // Returns how many went before the system refused one.
    int sendBytewise(std::string_view data, const PeerAddress& to);
    // Sends a short datagram (up to kQueuedBytes) together with the other answers to the
    // batch being read, in one system call once the batch is handled: the client is then
    // woken once a batch instead of once a datagram. Outside readPending() it goes at once.
    void sendWithBatch(std::string_view data, const PeerAddress& to);
    static constexpr int kQueuedBytes = 48;

    // Datagrams wait to be read.
    std::function<void()> onReadable;

private:
    static constexpr int kBatch = 32;
    static constexpr int kRoundsPerCall = 8;
    // Requests are small; of a longer datagram only its length matters to any service.
    static constexpr int kKeptBytes = 2048;

    // The buffers of a batch, laid out as the system's batch calls want them.
    struct Batch;

    int receiveBatch();
    Datagram datagram(int index);
    void flushReplies();
    // The socket of the family a peer's address belongs to.
    [[nodiscard]] NativeSocket socketFor(bool ipv4) const;

    EventLoop& loop_;
    FamilySockets sockets_;
    std::size_t ready_ = 0; // the family whose datagrams readPending() takes
    std::uint16_t port_ = 0;
    std::unique_ptr<Batch> batch_;
    // Answers waiting for the end of the batch.
    bool reading_ = false;
    int queued_ = 0;
    // Busy clients send many datagrams in a row: the text of the last sender is kept.
    PeerAddress lastPeer_;
    std::string lastPeerText_;
};

} // namespace cvl
