// A listening TCP socket for the time services, IPv4 and IPv6, that hands each accepted
// connection over as a bare descriptor with its peer's address. It accepts by itself rather
// than through the toolkit so that running out of descriptors is seen for what it is: the
// listener stops asking for a short while instead of retrying in a tight loop, and the
// clients wait in the kernel's backlog meanwhile.
#pragma once

#include "platform/family_sockets.h"
#include "platform/peer_address.h"

#include <QObject>

namespace cvl {

class StreamListener final : public QObject {
    Q_OBJECT
public:
    explicit StreamListener(EventLoop& loop, QObject* parent = nullptr);
    ~StreamListener() override;

    enum class ListenResult { Listening, AddressInUse, Failed };
    // Listens on every address on `port` (0: any free one).
    ListenResult listen(quint16 port);
    void close();
    [[nodiscard]] bool isListening() const { return sockets_.isOpen(); }
    [[nodiscard]] quint16 serverPort() const { return port_; }

    // While paused, clients wait in the backlog, neither accepted nor refused.
    void pauseAccepting();
    void resumeAccepting();
    // Accepts and closes every client waiting in the backlog.
    void discardPending();

signals:
    // A client was accepted; the receiver owns `descriptor` (non-blocking) from now on.
    void connectionRequested(int descriptor, const cvl::PeerAddress& peer);

private:
    void acceptPending(std::size_t family);
    void updateWatch();

    EventLoop& loop_;
    FamilySockets sockets_;
    quint16 port_ = 0;
    bool paused_ = false;
    Timer resourceRetry_;
};

} // namespace cvl
