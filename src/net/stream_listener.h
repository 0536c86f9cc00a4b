// A listening TCP socket for the time services, IPv4 and IPv6, that hands each accepted
// connection over as a bare descriptor with its peer's address. It accepts by itself rather
// than through the toolkit so that running out of descriptors is seen for what it is: the
// listener stops asking for a short while instead of retrying in a tight loop, and the
// clients wait in the kernel's backlog meanwhile.
#pragma once

#include "net/family_sockets.h"
#include "net/open_result.h"
#include "net/peer_address.h"

#include <cstdint>
#include <functional>

namespace cvl {

class StreamListener final {
public:
    explicit StreamListener(EventLoop& loop);
    ~StreamListener();
    StreamListener(const StreamListener&) = delete;
    StreamListener& operator=(const StreamListener&) = delete;

    // Listens on every address on `port` (0: any free one).
    OpenResult listen(std::uint16_t port);
    void close();
    [[nodiscard]] bool isListening() const { return sockets_.isOpen(); }
    [[nodiscard]] std::uint16_t serverPort() const { return port_; }

    // While paused, clients wait in the backlog, neither accepted nor refused.
    void pauseAccepting();
    void resumeAccepting();
    // Accepts and closes every client waiting in the backlog.
    void discardPending();

    // A client was accepted; the receiver owns `socket` (non-blocking) from now on.
    std::function<void(NativeSocket socket, const PeerAddress& peer)> onConnection;

private:
    void acceptPending(std::size_t family);
    void updateWatch();

    EventLoop& loop_;
    FamilySockets sockets_;
    std::uint16_t port_ = 0;
    bool paused_ = false;
    Timer resourceRetry_;
};

} // namespace cvl
