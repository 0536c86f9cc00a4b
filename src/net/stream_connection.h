// One accepted TCP connection of a service, driven by the event loop: what arrives is kept
// until taken, what is written goes at once or, when the system cannot take it all, as soon as
// it can. The peer's close or a broken connection closes it; closed, it can take the next
// client.
#pragma once

#include "net/peer_address.h"
#include "platform/event_loop.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace cvl {

class StreamConnection {
public:
    explicit StreamConnection(EventLoop& loop);
    ~StreamConnection() { abort(); }
    StreamConnection(const StreamConnection&) = delete;
    StreamConnection& operator=(const StreamConnection&) = delete;

    // Takes over an accepted non-blocking socket. False, and the socket closed, when it cannot
    // be watched.
    bool adopt(NativeSocket socket, const PeerAddress& peer, std::uint16_t localPort);
    [[nodiscard]] bool isOpen() const { return socket_ >= 0; }
    [[nodiscard]] const PeerAddress& peer() const { return peer_; }
    [[nodiscard]] std::uint16_t localPort() const { return localPort_; }

    // Everything that has arrived so far, handed over.
    [[nodiscard]] std::string takeReceived();
    // Sends `bytes`: now what the system takes, the rest once it can. False when the
    // connection is closed or broken.
    bool write(std::string_view bytes);
    [[nodiscard]] std::size_t bytesToWrite() const { return unsent_.size(); }
    // Ends the connection once everything written has gone.
    void close();
    // Ends it now; nothing unsent goes.
    void abort();
    // Ends it now with a reset: the peer sees the connection broken, not closed.
    void reset();

    // Something arrived (takeReceived() has it). Called before a close by the peer.
    std::function<void()> onReceived;
    // What was written has all gone, on a pass of the loop after the write.
    std::function<void()> onWritten;

private:
    void ready(unsigned readiness);
    void readAvailable();
    void sendUnsent();
    void updateInterest();

    EventLoop& loop_;
    SocketWatch watch_;
    NativeSocket socket_ = -1;
    PeerAddress peer_;
    std::uint16_t localPort_ = 0;
    std::string received_;
    std::string unsent_;
    bool writtenToTell_ = false;
    std::uint64_t generation_ = 0; // counts closes, so that a handler's close is noticed
    bool closing_ = false;
};

} // namespace cvl
