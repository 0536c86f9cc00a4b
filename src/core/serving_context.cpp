#include "core/serving_context.h"

#include "core/service_listeners.h"
#include "log/request_log.h"
#include "sync/synchroniser.h"
#include "sync/time_query.h"

namespace cvl {

ServingContext::ServingContext(const Clock& clock, TimeBase& timeBase, ServiceListeners& listeners,
                               Synchroniser& synchroniser)
    : clock_(clock)
    , timeBase_(timeBase)
    , listeners_(listeners)
    , synchroniser_(synchroniser) {}

ServingContext::~ServingContext() = default;

void ServingContext::openLog(std::unique_ptr<RequestLog> log) {
    log_ = std::move(log);
}

void ServingContext::setLogEnabled(bool on) {
    if (log_) {
        log_->setEnabled(on);
    }
}

const RemoteHost& ServingContext::remoteHost(int box) const {
    return remoteHosts_.at(static_cast<std::size_t>(box));
}

bool ServingContext::timeSynced() const {
    return listeners_.timeSynced();
}

NtpReference ServingContext::ntpReference() const {
    const TimeQuery& query = synchroniser_.query();
    return {static_cast<std::uint8_t>(ntpFirstByte_), query.referenceId(), query.lastSyncStamp()};
}

void ServingContext::logRequest(const RequestRecord& record) {
    if (log_) {
        log_->logRequest(record);
    }
}

bool ServingContext::countRequest(ServiceId id, Transport transport) {
    return listeners_.requests(id, transport).increment();
}

void ServingContext::showClient(int box, std::string_view address) {
    remoteHosts_.at(static_cast<std::size_t>(box)) = {std::string(address), clock_.localNow()};
}

bool ServingContext::awaitingReply() const {
    return synchroniser_.awaitingReply();
}

bool ServingContext::isAnswer(std::string_view datagram, const PeerAddress& from) const {
    return synchroniser_.isAnswer(datagram, from);
}

void ServingContext::acceptAnswer(std::string_view answer, const PeerAddress& from) {
    // Our own answer is not traffic served.
    listeners_.requests(ServiceId::Ntp, Transport::Udp).decrement();
    synchroniser_.acceptAnswer(answer, from);
}

void ServingContext::datagramFailed() {
    synchroniser_.datagramFailed();
}

} // namespace cvl
