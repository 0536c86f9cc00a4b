#include "core/status_model.h"

#include "core/service_table.h"
#include "log/request_log.h"
#include "sync/clock_adjustment.h"
#include "sync/time_query.h"
#include "timebase/time_base.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace cvl {

namespace {

const std::string kWaitingForSync = "waiting for the first synchronisation";

std::string atTime(const std::string& what, const LocalDateTime& when) {
    return what + ", at " + generalDateText(when);
}

// The synchronisation's message carries the offset with every digit; a tenth of a
// millisecond is what a reader wants beside it.
std::string offsetText(double milliseconds) {
    double tenths = std::round(milliseconds * 10) / 10;
    if (tenths == 0) {
        tenths = 0; // no "-0.0"
    }
    // to_chars: a full stop whatever the locale the desktop runs in.
    std::array<char, 40> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), tenths,
                                   std::chars_format::fixed, 1)
                         .ptr;
    std::string text(tenths > 0 ? "+" : "");
    text.append(digits.data(), end);
    text += " ms";
    return text;
}

} // namespace

std::string appVersion() {
    return std::to_string(CHRONVALE_VERSION_MAJOR) + '.' + std::to_string(CHRONVALE_VERSION_MINOR) +
           '.' + std::to_string(CHRONVALE_VERSION_PATCH);
}

std::string fixedTitle() {
    return "Chronvale Server " + appVersion();
}

StatusModel::StatusModel(const Clock& clock, const TimeBase& timeBase,
                         const ServiceListeners& listeners, const ServingContext& serving,
                         const Synchroniser& synchroniser)
    : clock_(clock)
    , timeBase_(timeBase)
    , listeners_(listeners)
    , serving_(serving)
    , synchroniser_(synchroniser)
    , caption_(fixedTitle()) {}

void StatusModel::addObserver(StatusObserver& observer) {
    observers_.push_back(&observer);
}

void StatusModel::removeObserver(StatusObserver& observer) {
    std::erase(observers_, &observer);
}

// A face may come or go while it is told something, so the round goes over a copy.
void StatusModel::changed(StatusChange change) {
    const std::vector<StatusObserver*> observers = observers_;
    for (StatusObserver* observer : observers) {
        if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
            observer->statusChanged(change);
        }
    }
}

std::string StatusModel::tip() const {
    return std::string(visibleTip(tipField_));
}

std::string StatusModel::timeZoneLabel() const {
    return " Time Zone: " + timeBase_.zoneName();
}

std::string StatusModel::clockText() const {
    return generalDateText(clock_.localNow());
}

bool StatusModel::synchronised() const {
    return listeners_.timeSynced();
}

const std::string& StatusModel::syncMessage() const {
    return synchroniser_.query().syncMessage();
}

const std::string& StatusModel::serverToolTip() const {
    return synchroniser_.query().serverToolTip();
}

void StatusModel::setCaption(const std::string& caption) {
    caption_ = caption;
    changed(StatusChange::Caption);
}

void StatusModel::setTip(std::string_view text) {
    tipField_ = tipText(text);
    changed(StatusChange::Tip);
}

void StatusModel::setStatusLine(const std::string& text) {
    statusLine_ = text;
    changed(StatusChange::StatusLine);
}

void StatusModel::withdrawStatusLine(const std::string& text) {
    if (statusLine_ == text) {
        setStatusLine({});
    }
}

void StatusModel::setCheckUpdateEnabled(bool enabled) {
    checkUpdateEnabled_ = enabled;
    changed(StatusChange::UpdateButton);
}

void StatusModel::syncEvent(SyncEvent event) {
    switch (event) {
    case SyncEvent::ServersChanged:
        changed(StatusChange::Servers);
        return;
    case SyncEvent::SelectedServerChanged:
        changed(StatusChange::SelectedServer);
        return;
    case SyncEvent::QuerySent: {
        const SyncState& state = synchroniser_.state();
        const std::vector<ServerEntry>& entries = synchroniser_.servers().entries;
        const std::string selected =
            state.selectedServer >= 0 ? entries[static_cast<std::size_t>(state.selectedServer)].text
                                      : "";
        setTip(" Checking Time Server: " + selected + ' ');
        checking_ = true;
        changed(StatusChange::Checking);
        return;
    }
    case SyncEvent::Synchronised:
        setTip(' ' + syncMessage() + ' ');
        changed(StatusChange::Synchronised);
        checking_ = false;
        changed(StatusChange::Checking);
        return;
    case SyncEvent::UnansweredChanged:
        changed(StatusChange::Unanswered);
        return;
    }
}

OverviewStatus StatusModel::overview() const {
    const SyncState& state = synchroniser_.state();
    const TimeQuery& query = synchroniser_.query();
    OverviewStatus overview;
    overview.synchronised = synchronised();
    overview.nextQuery = "in " + std::to_string(synchroniser_.secondsToNextSync()) + " s";
    overview.unanswered = state.unansweredText;
    if (!overview.synchronised) {
        overview.clients = "Not synchronised: clients are refused until the first answer";
        // Before the first answer the operator needs to know whom we are waiting for and
        // when we try again; after it, what we got and from whom.
        overview.lastQuery =
            state.askedServer.empty() ? "not asked yet" : atTime(state.askedServer, state.askedAt);
        return overview;
    }
    overview.clients = "Synchronised: every enabled service answers its clients";
    overview.syncResult = query.syncMessage().empty()
                              ? "none yet"
                              : query.syncMessage() + " (" + offsetText(query.lastOffsetMs()) + ")";
    overview.reference =
        query.referenceAddressText().empty()
            ? state.currentServer
            : atTime(state.currentServer + " (" + query.referenceAddressText() + ")",
                     query.lastSyncTime());
    return overview;
}

ServiceStatus StatusModel::service(ServiceId id) const {
    const ServiceRow& row = serviceRow(id);
    const bool synced = synchronised();
    ServiceStatus status;
    status.name = row.name;
    status.description = row.description;
    status.title = row.title;
    status.controls = listeners_.controls(id);

    if (listeners_.tcpListening(id)) {
        const std::string port = std::to_string(listeners_.tcpArray(id).listener().serverPort());
        // Clients wait in the backlog until the clock has been set: not "listening" to them.
        status.tcpState =
            synced ? "listening on port " + port : "port " + port + ": " + kWaitingForSync;
        status.sockets.push_back(synced ? "TCP " + port : "TCP " + port + ": " + kWaitingForSync);
    } else {
        status.tcpState = "closed";
    }
    if (listeners_.udpBound(id)) {
        const std::string port = std::to_string(listeners_.udpSocket(id).localPort());
        status.udpState = "bound to port " + port;
        status.sockets.push_back("UDP " + port);
    } else {
        status.udpState = "closed";
    }
    status.countsTcpRequests = row.countsTcpAccepts;
    status.tcpRequests = row.countsTcpAccepts
                             ? std::to_string(listeners_.requests(id, Transport::Tcp).value())
                             : "not counted";
    status.udpRequests = std::to_string(listeners_.requests(id, Transport::Udp).value());
    const RemoteHost& client = serving_.remoteHost(row.remoteHostBox);
    status.lastClient = client.address.empty() ? "none yet" : atTime(client.address, client.when);
    if (id == ServiceId::Ntp) {
        status.lastReply = "NTPms " + std::to_string(serving_.lastNtpMilliseconds());
    }
    return status;
}

ClientBox StatusModel::clientBox(int box) const {
    const RemoteHost& host = serving_.remoteHost(box);
    ClientBox shown{host.address, {}};
    if (!host.address.empty()) {
        shown.toolTip = ' ' + generalDateText(host.when) + ' ';
    }
    return shown;
}

} // namespace cvl
