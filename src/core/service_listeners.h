// The five services' listening sockets and the operator's controls for them: the master,
// TCP and UDP boxes and the port box of each service. Opening, closing and restarting a
// socket, finding a free connection socket and accepting a client all happen here; what is
// sent back is the service protocol's business.
#pragma once

#include "core/request_counter.h"
#include "core/service_table.h"
#include "core/tcp_socket_array.h"
#include "services/lamp.h"
#include "services/service_protocol.h"

#include "net/datagram_socket.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace cvl {

class Diagnostics;

// The state of one service's controls, as a window would show them.
struct ServiceControls {
    bool master = false;
    bool tcp = false;
    bool udp = false;
    std::string portText;
    std::string portToolTip;
    // The TCP and UDP boxes can be clicked only while the service is enabled.
    [[nodiscard]] bool transportBoxesEnabled() const { return master; }
};

inline const std::string kPortChangedTip = " Hit Enter to Register the Port Change ";
inline const std::string kPortRegisteredTip = " Change Registered Successfully ";

class ServiceListeners final {
public:
    // Sockets that cannot be opened are told to `diagnostics`, when there is one.
    explicit ServiceListeners(EventLoop& loop, Diagnostics* diagnostics = nullptr);
    ~ServiceListeners();
    ServiceListeners(const ServiceListeners&) = delete;
    ServiceListeners& operator=(const ServiceListeners&) = delete;

    // Who answers a service's traffic; until set, it is taken in and left unanswered.
    void setProtocol(ServiceId id, ServiceProtocol* protocol);

    // Closes and reopens one socket of a service, on the port that its port box holds now.
    void reopen(ServiceId id, Transport transport);

    // Applies a saved service value at start-up: boxes ticked and sockets opened, TCP first.
    void applySetting(ServiceId id, std::string_view value);
    [[nodiscard]] std::string settingText(ServiceId id) const;

    // Operator actions.
    void masterClicked(ServiceId id, bool ticked);
    void tcpBoxClicked(ServiceId id, bool ticked);
    void udpBoxClicked(ServiceId id, bool ticked);
    void portTextChanged(ServiceId id, std::string_view text);
    // A key typed in the port box; only Enter (13) does anything.
    void portKeyPressed(ServiceId id, char32_t key);

    [[nodiscard]] bool timeSynced() const { return timeSynced_; }
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
    [[nodiscard]] RequestCounter& requests(ServiceId id, Transport transport) {
        return transport == Transport::Tcp ? at(id).tcpRequests : at(id).udpRequests;
    }
    [[nodiscard]] const RequestCounter& requests(ServiceId id, Transport transport) const {
        return transport == Transport::Tcp ? at(id).tcpRequests : at(id).udpRequests;
    }

    // What the owner hears. The status line's text changed (a port conflict on the Daytime
    // service); a Daytime socket opened after all, so the conflict reported is over; a
    // service's controls changed; a client to show in remote-host box `box`; a traffic lamp.
    std::function<void(const std::string& text)> onStatusText;
    std::function<void(const std::string& text)> onStatusTextWithdrawn;
    std::function<void(ServiceId id)> onServiceChanged;
    std::function<void(int box, std::string_view address)> onClientShown;
    std::function<void(Lamp lamp)> onLamp;

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
    void connectionRequested(ServiceId id, NativeSocket descriptor, const PeerAddress& peer);
    void answerAtOnce(ServiceId id, NativeSocket descriptor, const PeerAddress& peer);
    void reportAddressInUse(ServiceId id, int port);
    void report(ServiceId id, Transport transport, const std::string& what);
    [[nodiscard]] static std::string topicOf(ServiceId id, Transport transport);
    void opened(ServiceId id);

    std::array<Service, kServiceCount> services_;
    std::unique_ptr<SilentProtocol> silent_;
    Diagnostics* diagnostics_ = nullptr;
    bool timeSynced_ = false;
    std::string portMessage_; // the conflict last reported, until the socket opens
    // Each hook, when set.
    void statusText(const std::string& text) const;
    void serviceChanged(ServiceId id) const;
    void clientShown(int box, std::string_view address) const;
    void lamp(Lamp lamp) const;
};

} // namespace cvl
