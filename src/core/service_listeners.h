// The five services' listening sockets and the operator's controls for them: the master,
// TCP and UDP boxes and the port box of each service. Opening, closing and restarting a
// socket, finding a free connection socket and accepting a client all happen here; what is
// sent back is the service protocol's business.
#pragma once

#include "core/lamp.h"
#include "core/request_counter.h"
#include "core/service_table.h"
#include "core/tcp_socket_array.h"
#include "services/service_protocol.h"

#include "platform/datagram_socket.h"
#include <QObject>
#include <array>
#include <memory>

namespace cvl {

// The state of one service's controls, as a window would show them.
struct ServiceControls {
    bool master = false;
    bool tcp = false;
    bool udp = false;
    QString portText;
    QString portToolTip;
    // The TCP and UDP boxes can be clicked only while the service is enabled.
    [[nodiscard]] bool transportBoxesEnabled() const { return master; }
};

inline const QString kPortChangedTip = QStringLiteral(" Hit Enter to Register the Port Change ");
inline const QString kPortRegisteredTip = QStringLiteral(" Change Registered Successfully ");

class ServiceListeners final : public QObject {
    Q_OBJECT
public:
    explicit ServiceListeners(EventLoop& loop, QObject* parent = nullptr,
                              std::chrono::milliseconds idleLimit = kIdleConnectionLimit);
    ~ServiceListeners() override;

    // Who answers a service's traffic; until set, it is taken in and left unanswered.
    void setProtocol(ServiceId id, ServiceProtocol* protocol);

    // Closes and reopens the one socket that the mode names ("0".."9"), on the port that the
    // service's port box holds now.
    void LoadServers(const QString& mode);
    // A free connection socket of the service (InitTCP13, InitTCP37, ... in one).
    [[nodiscard]] int InitTCP(ServiceId id) { return at(id).tcp->freeIndex(); }

    // Applies a saved service value at start-up: boxes ticked and sockets opened, TCP first.
    void applySetting(ServiceId id, const QString& value);
    [[nodiscard]] QString settingText(ServiceId id) const;

    // Operator actions.
    void masterClicked(ServiceId id, bool ticked);
    void tcpBoxClicked(ServiceId id, bool ticked);
    void udpBoxClicked(ServiceId id, bool ticked);
    void portTextChanged(ServiceId id, const QString& text);
    void portKeyPressed(ServiceId id, QChar key);

    [[nodiscard]] bool TimeSynced() const { return timeSynced_; }
    // Once set, connection requests are accepted; nothing clears it.
    void setTimeSynced();

    void closeTcpListener(ServiceId id);
    void closeUdpSocket(ServiceId id);

    [[nodiscard]] const ServiceControls& controls(ServiceId id) const { return at(id).controls; }
    [[nodiscard]] const TcpSocketArray& tcpArray(ServiceId id) const { return *at(id).tcp; }
    [[nodiscard]] TcpSocketArray& tcpArray(ServiceId id) { return *at(id).tcp; }
    [[nodiscard]] const DatagramSocket& udpSocket(ServiceId id) const { return *at(id).udp; }
    [[nodiscard]] DatagramSocket& udpSocket(ServiceId id) { return *at(id).udp; }
    [[nodiscard]] bool tcpListening(ServiceId id) const {
        return at(id).tcp->listener().isListening();
    }
    [[nodiscard]] bool udpBound(ServiceId id) const { return at(id).udp->isBound(); }
    [[nodiscard]] RequestCounter& tcpRequests(ServiceId id) { return at(id).tcpRequests; }
    [[nodiscard]] RequestCounter& udpRequests(ServiceId id) { return at(id).udpRequests; }
    [[nodiscard]] const RequestCounter& tcpRequests(ServiceId id) const {
        return at(id).tcpRequests;
    }
    [[nodiscard]] const RequestCounter& udpRequests(ServiceId id) const {
        return at(id).udpRequests;
    }

signals:
    // The status line's text changed (a port conflict on the Daytime service).
    void statusText(const QString& text);
    // A Daytime socket opened after all: the conflict reported in `text` is over.
    void statusTextWithdrawn(const QString& text);
    // A service's controls changed; a view refreshes that service's details.
    void serviceChanged(cvl::ServiceId id);
    // A client to show in remote-host box `box`.
    void clientShown(int box, const QString& address);
    void lamp(cvl::Lamp lamp);

private:
    struct Service {
        ServiceControls controls;
        std::unique_ptr<TcpSocketArray> tcp;
        std::unique_ptr<DatagramSocket> udp;
        ServiceProtocol* protocol = nullptr;
        RequestCounter tcpRequests;
        RequestCounter udpRequests;
    };

    [[nodiscard]] Service& at(ServiceId id) { return services_[indexOf(id)]; }
    [[nodiscard]] const Service& at(ServiceId id) const { return services_[indexOf(id)]; }
    void connectionRequested(ServiceId id, int descriptor, const PeerAddress& peer);
    void answerAtOnce(ServiceId id, int descriptor, const PeerAddress& peer);
    void reportAddressInUse(ServiceId id, int port);
    void opened(ServiceId id);

    std::array<Service, kServiceCount> services_;
    std::unique_ptr<SilentProtocol> silent_;
    bool timeSynced_ = false;
    QString portMessage_; // the conflict last reported, until the socket opens
};

} // namespace cvl
