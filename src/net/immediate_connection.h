// An accepted connection that is answered and closed before its handler returns: no socket
// object and no round of the event loop, only the socket. Closing it lets the system send what
// was written and then end the stream.
#pragma once

#include "platform/event_loop.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace cvl {

class ImmediateConnection {
public:
    ImmediateConnection(NativeSocket socket, std::string peer, std::uint16_t localPort);
    ~ImmediateConnection();
    ImmediateConnection(const ImmediateConnection&) = delete;
    ImmediateConnection& operator=(const ImmediateConnection&) = delete;

    // False when the system refused the bytes (the peer is gone, say).
    bool send(std::string_view data);
    [[nodiscard]] const std::string& peerText() const { return peer_; }
    [[nodiscard]] std::uint16_t localPort() const { return localPort_; }

private:
    NativeSocket socket_;
    std::string peer_;
    std::uint16_t localPort_;
};

// Closes an accepted socket unanswered.
void closeSocket(NativeSocket socket);

} // namespace cvl
