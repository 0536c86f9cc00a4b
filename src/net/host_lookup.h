// Host names turned into addresses without holding up the event loop: a literal address is
// answered at once, a name is looked up on a helper thread of its own and the answer posted
// back to the loop. The one thing that leaves the loop's thread.
#pragma once

#include "net/peer_address.h"
#include "platform/event_loop.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cvl {

// The system's resolver, blocking: every address of `host` (IPv4 and IPv6, as the system
// orders them) with `port`; empty when the name is unknown or no lookup is possible.
[[nodiscard]] std::vector<PeerAddress> resolveBlocking(const std::string& host, std::uint16_t port);

class HostLookup {
public:
    using Answer = std::function<void(const std::vector<PeerAddress>& addresses)>;

    explicit HostLookup(EventLoop& loop);
    // A lookup under way is forgotten: its thread ends by itself and its answer is dropped.
    ~HostLookup();
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;

    // Replaces any lookup under way. `answer` runs from inside start() for a literal address,
    // later on the loop for a name.
    void start(const std::string& host, std::uint16_t port, Answer answer);
    void cancel();
    [[nodiscard]] bool isRunning() const { return answer_ != nullptr; }

private:
    struct Shared;
    using Deliver = std::function<void(const std::vector<PeerAddress>&)>;
    // Hands `addresses` to `deliver` on the loop, if the HostLookup still exists by then.
    static void post(const std::shared_ptr<Shared>& shared, Deliver deliver,
                     std::vector<PeerAddress> addresses);

    std::shared_ptr<Shared> shared_;
    std::uint64_t generation_ = 0;
    Answer answer_;
};

} // namespace cvl
