#include "core/service_listeners.h"

#include "core/settings_values.h"
#include "log/diagnostics.h"
#include "net/peer_address.h"
#include "platform/socket_advice.h"
#include "text/leading_number.h"

#include <utility>

namespace cvl {

ServiceListeners::ServiceListeners(EventLoop& loop, Diagnostics* diagnostics)
    : silent_(std::make_unique<SilentProtocol>())
    , diagnostics_(diagnostics) {
    for (const ServiceRow& row : serviceTable()) {
        Service& service = at(row.id);
        // Until a saved value says otherwise, a port box shows the service's usual port.
        service.controls.portText = std::to_string(row.defaultPort);
        service.protocol = silent_.get();
        service.tcp = std::make_unique<TcpSocketArray>(loop);
        service.udp = std::make_unique<DatagramSocket>(loop);

        const ServiceId id = row.id;
        TcpSocketArray& array = *service.tcp;
        array.listener().onConnection = [this, id](NativeSocket socket, const PeerAddress& peer) {
            connectionRequested(id, socket, peer);
        };
        array.onReceived = [this, id](int index) {
            at(id).protocol->connectionReadyRead(at(id).tcp->at(index), index);
        };
        array.onWritten = [this, id](int index) {
            at(id).protocol->connectionBytesWritten(at(id).tcp->at(index), index);
        };
        service.udp->onReadable = [this, id] {
            Service& target = at(id);
            target.udp->readPending([&target](const Datagram& datagram) {
                target.protocol->datagramArrived(*target.udp, datagram);
            });
        };
    }
}

ServiceListeners::~ServiceListeners() = default;

void ServiceListeners::setProtocol(ServiceId id, ServiceProtocol* protocol) {
    at(id).protocol = protocol != nullptr ? protocol : silent_.get();
}

void ServiceListeners::reopen(ServiceId id, Transport transport) {
    Service& service = at(id);
    const bool tcp = transport == Transport::Tcp;
    if (tcp) {
        service.tcp->listener().close();
    } else {
        service.udp->close();
    }

    // The port is read from the box every time; a value that does not fit 16 bits signed,
    // or a negative one, leaves the socket closed. The window says nothing of it; the
    // diagnostics do.
    const std::optional<std::int16_t> port = roundToInt16(leadingNumber(service.controls.portText));
    if (!port || *port < 0) {
        report(id, transport,
               "\"" + service.controls.portText +
                   "\" is not a port this server can open (it takes 0 to 32767); the " +
                   std::string(transportName(transport)) + " socket stays closed");
        return;
    }
    const auto portNumber = static_cast<std::uint16_t>(*port);

    const OpenResult result =
        tcp ? service.tcp->listener().listen(portNumber) : service.udp->bind(portNumber);
    if (result.open) {
        if (tcp && !timeSynced_) {
            // Clients wait in the backlog, neither accepted nor refused, until the clock has
            // been set once.
            service.tcp->listener().pauseAccepting();
        }
        if (diagnostics_ != nullptr) {
            diagnostics_->clear(topicOf(id, transport));
        }
        opened(id);
        return;
    }
    report(id, transport,
           "cannot open " + std::string(transportName(transport)) + " port " +
               std::to_string(portNumber) + ": " + result.error.text +
               socketAdvice(result.error.failure, portNumber, transport == Transport::Udp));
    if (result.addressInUse()) {
        reportAddressInUse(id, *port);
    }
}

std::string ServiceListeners::topicOf(ServiceId id, Transport transport) {
    return std::string("port ") + serviceRow(id).registryValue + ' ' +
           std::string(transportName(transport));
}

void ServiceListeners::report(ServiceId id, Transport transport, const std::string& what) {
    if (diagnostics_ != nullptr) {
        const ServiceRow& row = serviceRow(id);
        diagnostics_->report(topicOf(id, transport), Severity::Warning,
                             std::string(row.name) + " service (" + row.registryValue +
                                 "): " + what);
    }
}

void ServiceListeners::reportAddressInUse(ServiceId id, int port) {
    // Only the Daytime service reports a conflict; the others stay closed without a word.
    if (id != ServiceId::Daytime) {
        return;
    }
    portMessage_ = "That address is already in use.  Please select a different port than " +
                   std::to_string(port) + ".\rDAYTIME SERVICE SERVER ERROR - PORT: " +
                   at(ServiceId::Daytime).controls.portText + " invalid.";
    statusText(portMessage_);
}

void ServiceListeners::opened(ServiceId id) {
    if (id == ServiceId::Daytime && !portMessage_.empty()) {
        const std::string withdrawn = std::exchange(portMessage_, std::string());
        if (onStatusTextWithdrawn) {
            onStatusTextWithdrawn(withdrawn);
        }
    }
}

void ServiceListeners::connectionRequested(ServiceId id, NativeSocket descriptor,
                                           const PeerAddress& peer) {
    Service& service = at(id);
    if (!timeSynced_) {
        closeSocket(descriptor);
        return;
    }
    if (service.protocol->answersAtOnce()) {
        answerAtOnce(id, descriptor, peer);
        return;
    }
    const int index = service.tcp->freeIndex();
    StreamConnection& socket = service.tcp->at(index);
    if (!socket.adopt(descriptor, peer, service.tcp->listener().serverPort())) {
        return;
    }
    service.tcp->accepted(index);
    const ServiceRow& row = serviceRow(id);
    std::string shown = peer.text();
    if (row.acceptShowsPort) {
        shown += ':' + std::to_string(peer.port());
    }
    clientShown(0, shown);
    if (row.countsTcpAccepts) {
        if (!service.tcpRequests.increment()) {
            socket.abort();
            return;
        }
    }
    lamp(Lamp::DataIn);
    lamp(Lamp::TcpIn);
    service.protocol->connectionAccepted(socket, index);
}

void ServiceListeners::answerAtOnce(ServiceId id, NativeSocket descriptor,
                                    const PeerAddress& peer) {
    Service& service = at(id);
    // The connection is answered and closed within this call: no socket of the array is
    // needed for it, nor any round of the event loop.
    ImmediateConnection connection(descriptor, peer.text(), service.tcp->listener().serverPort());
    clientShown(0, connection.peerText());
    if (serviceRow(id).countsTcpAccepts && !service.tcpRequests.increment()) {
        return;
    }
    lamp(Lamp::DataIn);
    lamp(Lamp::TcpIn);
    service.protocol->answerAtOnce(connection);
}

void ServiceListeners::setTimeSynced() {
    if (timeSynced_) {
        return;
    }
    timeSynced_ = true;
    for (Service& service : services_) {
        StreamListener& listener = service.tcp->listener();
        if (listener.isListening()) {
            // Whoever asked before the clock was set is not answered now either.
            listener.discardPending();
            listener.resumeAccepting();
        }
    }
}

void ServiceListeners::applySetting(ServiceId id, std::string_view value) {
    const ServiceSetting setting = parseServiceSetting(value);
    if (!setting.wellFormed || !setting.enabled) {
        return;
    }
    ServiceControls& controls = at(id).controls;
    controls.master = true;
    controls.portText = setting.port;
    if (setting.tcp) {
        controls.tcp = true;
        reopen(id, Transport::Tcp);
    }
    if (setting.udp) {
        controls.udp = true;
        reopen(id, Transport::Udp);
    }
    serviceChanged(id);
}

std::string ServiceListeners::settingText(ServiceId id) const {
    const ServiceControls& controls = at(id).controls;
    return formatServiceSetting(controls.master, controls.tcp, controls.udp, controls.portText);
}

void ServiceListeners::masterClicked(ServiceId id, bool ticked) {
    Service& service = at(id);
    service.controls.master = ticked;
    if (ticked) {
        if (!service.tcp->listener().isListening()) {
            if (service.controls.udp) {
                reopen(id, Transport::Udp);
            }
            if (service.controls.tcp) {
                reopen(id, Transport::Tcp);
            }
        }
    } else {
        // Disabling a service stops its TCP listener only; its UDP socket stays bound.
        closeTcpListener(id);
    }
    serviceChanged(id);
}

void ServiceListeners::tcpBoxClicked(ServiceId id, bool ticked) {
    Service& service = at(id);
    if (!service.controls.transportBoxesEnabled()) {
        return;
    }
    service.controls.tcp = ticked;
    // Unticking keeps the listener listening until the service itself is disabled.
    if (ticked) {
        reopen(id, Transport::Tcp);
    }
    serviceChanged(id);
}

void ServiceListeners::udpBoxClicked(ServiceId id, bool ticked) {
    Service& service = at(id);
    if (!service.controls.transportBoxesEnabled()) {
        return;
    }
    service.controls.udp = ticked;
    if (ticked) {
        reopen(id, Transport::Udp);
    } else {
        closeUdpSocket(id);
    }
    serviceChanged(id);
}

void ServiceListeners::portTextChanged(ServiceId id, std::string_view text) {
    ServiceControls& controls = at(id).controls;
    controls.portText = text;
    // The new port only counts once Enter registers it.
    if (serviceRow(id).hasPortChangeHandler) {
        controls.portToolTip = kPortChangedTip;
    }
    serviceChanged(id);
}

void ServiceListeners::portKeyPressed(ServiceId id, char32_t key) {
    if (!serviceRow(id).hasPortKeyHandler || key != 13) {
        return;
    }
    // Enter restarts both transports whenever the service is enabled, whatever the TCP and
    // UDP boxes say.
    if (at(id).controls.master) {
        reopen(id, Transport::Udp);
    }
    if (at(id).controls.master) {
        reopen(id, Transport::Tcp);
    }
    at(id).controls.portToolTip = kPortRegisteredTip;
    serviceChanged(id);
}

void ServiceListeners::closeTcpListener(ServiceId id) {
    at(id).tcp->listener().close();
}

void ServiceListeners::closeUdpSocket(ServiceId id) {
    at(id).udp->close();
}

void ServiceListeners::statusText(const std::string& text) const {
    if (onStatusText) {
        onStatusText(text);
    }
}

void ServiceListeners::serviceChanged(ServiceId id) const {
    if (onServiceChanged) {
        onServiceChanged(id);
    }
}

void ServiceListeners::clientShown(int box, std::string_view address) const {
    if (onClientShown) {
        onClientShown(box, address);
    }
}

void ServiceListeners::lamp(Lamp lamp) const {
    if (onLamp) {
        onLamp(lamp);
    }
}

} // namespace cvl
