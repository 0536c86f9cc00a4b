#include "sync/synchroniser.h"

#include "log/diagnostics.h"
#include "sync/time_query.h"
#include "text/utf8.h"

#include <algorithm>
#include <random>
#include <utility>

namespace cvl {

Synchroniser::Synchroniser(EventLoop& loop, Clock& clock, TimeBase& timeBase,
                           DatagramSocket& socket, std::uint16_t referencePort,
                           Diagnostics* diagnostics)
    : clock_(clock)
    , socket_(socket)
    , referencePort_(referencePort)
    , diagnostics_(diagnostics)
    , query_(std::make_unique<TimeQuery>(loop, clock, timeBase))
    , tickTimer_(loop, [this] { tick(); })
    , unansweredTimer_(loop, [this] { queryUnanswered(); })
    , random_([engine = std::mt19937_64(std::random_device{}())]() mutable {
        return std::uniform_real_distribution<double>(0.0, 1.0)(engine);
    }) {
    tickTimer_.setInterval(std::chrono::seconds(1));
    unansweredTimer_.setSingleShot(true);
    unansweredTimer_.setInterval(kUnansweredAfter);
    query_->onSendFailed = [this] {
        pickAtRandom();
        schedule_.retryOnNextTick();
        state_.queriesFailing = true;
        unansweredTimer_.stop();
        // No server name in it: with one tried every second, the line would never settle.
        setUnansweredText("The reference server could not be asked (no such host, or no route "
                          "to it); " +
                          clientsWhileUnanswered() + "; another server is tried every second");
    };
    query_->onSent = [this] {
        state_.queriesFailing = false;
    };
    query_->onSynchronised = [this] {
        unansweredTimer_.stop();
        setUnansweredText({});
        state_.synchronised = true;
        reportClockStep();
        tell(SyncEvent::Synchronised);
    };
}

Synchroniser::~Synchroniser() = default;

void Synchroniser::tell(SyncEvent event) {
    if (onEvent) {
        onEvent(event);
    }
}

void Synchroniser::reportClockStep() {
    if (diagnostics_ == nullptr) {
        return;
    }
    static const std::string topic = "system clock";
    const ClockStep& step = query_->lastClockStep();
    switch (step.outcome) {
    case ClockStep::Outcome::Stepped:
        diagnostics_->clear(topic);
        return;
    case ClockStep::Outcome::NotAllowed:
        diagnostics_->report(topic, Severity::Information,
                             "the system clock is left alone, as asked (--no-set-clock or "
                             "CHRONVALE_NO_SET_CLOCK=1); clients get the reference's time all "
                             "the same");
        return;
    case ClockStep::Outcome::OutOfRange:
        diagnostics_->report(topic, Severity::Warning,
                             "the system clock is left alone: the time worked out from " +
                                 state_.askedServer + "'s answer does not fit the clock's fields");
        return;
    case ClockStep::Outcome::Refused:
        diagnostics_->report(topic, Severity::Warning,
                             "the system clock is left alone: " + step.reason +
                                 "; clients get the reference's time all the same");
        return;
    }
}

void Synchroniser::setServers(ServerList list) {
    servers_ = std::move(list);
    state_.selectedServer = -1;
    tell(SyncEvent::ServersChanged);
    schedule_.drawPool(servers_.entries, settings_.region);
    if (!servers_.entries.empty()) {
        selectServer(0);
    }
}

void Synchroniser::applySettings(SyncSettings settings) {
    settings_ = std::move(settings);
    recalculateInterval();
    schedule_.drawPool(servers_.entries, settings_.region);
}

void Synchroniser::start() {
    tickTimer_.start();
}

void Synchroniser::stop() {
    tickTimer_.stop();
    unansweredTimer_.stop();
}

void Synchroniser::recalculateInterval() {
    if (schedule_.setInterval(settings_.syncN, settings_.syncUnit) && tickTimer_.isActive()) {
        tickTimer_.start(); // restarts the one-second count
    }
}

std::string Synchroniser::typeInterval(std::string_view text) {
    settings_.syncN = SyncSchedule::keepNumeric(text);
    return settings_.syncN;
}

void Synchroniser::enterInterval() {
    recalculateInterval();
}

void Synchroniser::chooseUnit(std::string_view unit) {
    settings_.syncUnit = unit;
    recalculateInterval();
}

void Synchroniser::setRegion(std::string_view region) {
    settings_.region = region;
    schedule_.drawPool(servers_.entries, settings_.region);
}

void Synchroniser::tick() {
    const bool due = schedule_.tick();
    if (due || syncRequested_) {
        syncRequested_ = false;
        syncNow();
    }
}

std::int32_t Synchroniser::secondsToNextSync() const {
    const std::int64_t left =
        std::int64_t{schedule_.syncSeconds} - std::int64_t{schedule_.syncCounter};
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(left, 1, INT32_MAX));
}

void Synchroniser::selectServer(int index) {
    if (index < 0 || index >= servers_.count()) {
        return;
    }
    state_.selectedServer = index;
    // Box position and host index agree only in a well-formed file; the host is taken by
    // position all the same.
    const std::size_t host = static_cast<std::size_t>(index) + 1;
    state_.currentServer = host < servers_.ServerHosts.size() ? servers_.ServerHosts[host] : "";
    tell(SyncEvent::SelectedServerChanged);
}

void Synchroniser::pickAtRandom() {
    if (const std::optional<int> position = schedule_.pick(random_())) {
        selectServer(*position - 1);
    }
}

void Synchroniser::syncNow() {
    if (servers_.entries.empty() || schedule_.poolCount == 0) {
        return;
    }
    state_.asked = true;
    if (settings_.randomCheck) {
        pickAtRandom();
    }
    if (state_.currentServer.empty()) {
        state_.currentServer = servers_.ServerHosts[1];
    }
    state_.askedServer = utf8::trimmed(state_.currentServer);
    state_.askedAt = clock_.localNow();
    unansweredTimer_.start();
    query_->send(socket_, state_.askedServer, referencePort_);
    tell(SyncEvent::QuerySent);
}

void Synchroniser::queryUnanswered() {
    if (!query_->awaitingReply()) {
        return;
    }
    setUnansweredText("No answer from " + state_.askedServer + " after " +
                      std::to_string(kUnansweredAfter.count() / 1000) + " s; " +
                      clientsWhileUnanswered() + "; next try in " +
                      std::to_string(secondsToNextSync()) + " s");
}

std::string Synchroniser::clientsWhileUnanswered() const {
    return state_.synchronised ? "clients are still served from the last answer"
                               : "clients are refused until the first answer";
}

void Synchroniser::setUnansweredText(const std::string& text) {
    if (state_.unansweredText == text) {
        return;
    }
    state_.unansweredText = text;
    tell(SyncEvent::UnansweredChanged);
}

bool Synchroniser::awaitingReply() const {
    return query_->awaitingReply();
}

bool Synchroniser::isAnswer(std::string_view datagram, const PeerAddress& from) const {
    return query_->isAnswer(datagram, from, strict_);
}

void Synchroniser::acceptAnswer(std::string_view answer, const PeerAddress& from) {
    query_->accept(answer, from);
}

void Synchroniser::datagramFailed() {
    pickAtRandom();
    schedule_.retrySoon();
}

} // namespace cvl
