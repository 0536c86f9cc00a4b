// The server's own synchronisation: the reference-server list, the schedule that says when to
// ask, the choice of server (by hand or at random within the region), the query itself and
// the notice when it goes unanswered. It runs on the event loop's monotonic timers, never on
// the wall clock that it steps.
#pragma once

#include "net/datagram_socket.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"
#include "timebase/clock.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace cvl {

class Diagnostics;
class TimeBase;
class TimeQuery;

// The synchronisation settings as the operator left them: random choice of server, the
// interval number and unit as typed, and the region whose servers random choice draws from.
struct SyncSettings {
    bool randomCheck = false;
    std::string syncN;
    std::string syncUnit;
    std::string region;
};

// Where the synchronisation stands, as the faces show it.
struct SyncState {
    int selectedServer = -1;   // entry of the list, 0-based; -1 before one is chosen
    std::string currentServer; // the host the next query goes to
    std::string askedServer;   // the host last asked; empty before the first query
    LocalDateTime askedAt;     // when, local time
    // The line that says the last query has gone unanswered; empty while none has.
    std::string unansweredText;
    // The last query could not even leave (no such host, no route): another server is tried
    // at every tick until one can be asked.
    bool queriesFailing = false;
    bool asked = false;        // a query was made at least once
    bool synchronised = false; // an answer was taken at least once
};

// What changed, for whoever shows it.
enum class SyncEvent {
    ServersChanged,
    SelectedServerChanged,
    QuerySent,
    Synchronised,
    UnansweredChanged
};

class Synchroniser final {
public:
    // Queries leave from `socket` (the NTP service's, which also takes their answers) to
    // `referencePort` of the server asked.
    // How each answer's step of the system clock went is told to `diagnostics`, when there
    // is one.
    Synchroniser(EventLoop& loop, Clock& clock, TimeBase& timeBase, DatagramSocket& socket,
                 std::uint16_t referencePort, Diagnostics* diagnostics = nullptr);
    ~Synchroniser();
    Synchroniser(const Synchroniser&) = delete;
    Synchroniser& operator=(const Synchroniser&) = delete;

    // A new list: the first entry is selected and the region's pool drawn up again.
    void setServers(ServerList list);
    [[nodiscard]] const ServerList& servers() const { return servers_; }
    void applySettings(SyncSettings settings);
    [[nodiscard]] const SyncSettings& settings() const { return settings_; }
    // Answers to the server's own query only from the server asked.
    void setStrict(bool strict) { strict_ = strict; }
    [[nodiscard]] bool strict() const { return strict_; }

    // The one-second schedule runs between these.
    void start();
    void stop();
    // Asks now. With no list, or no server in the operator's region, nothing is asked;
    // deliberate, even when a server was picked by hand.
    void syncNow();
    // Asks at the next tick, so that a burst of requests makes one query.
    void requestSync() { syncRequested_ = true; }
    // One tick of the schedule.
    void tick();

    // The operator's controls.
    void selectServer(int index);
    void setRegion(std::string_view region);
    // Typing in the interval box: returns the text as the box keeps it.
    std::string typeInterval(std::string_view text);
    void enterInterval();
    void chooseUnit(std::string_view unit);
    void setRandomChoice(bool on) { settings_.randomCheck = on; }

    [[nodiscard]] const SyncState& state() const { return state_; }
    [[nodiscard]] const TimeQuery& query() const { return *query_; }
    [[nodiscard]] const SyncSchedule& schedule() const { return schedule_; }
    // Whole seconds until the schedule asks again (at least one tick away).
    [[nodiscard]] std::int32_t secondsToNextSync() const;

    // The NTP service's socket carries the answers: while a query is out, a datagram that
    // matches it is ours, not a request to serve.
    [[nodiscard]] bool awaitingReply() const;
    [[nodiscard]] bool isAnswer(std::string_view datagram, const PeerAddress& from) const;
    void acceptAnswer(std::string_view answer, const PeerAddress& from);
    // A one-byte datagram while waiting: the query failed, another server is tried soon.
    void datagramFailed();

    // Where the random choice draws from; tests make it predictable.
    void setRandomSource(std::function<double()> source) { random_ = std::move(source); }
    // How long a query may stay unanswered before the operator is told.
    static constexpr std::chrono::milliseconds kUnansweredAfter{5000};

    std::function<void(SyncEvent)> onEvent;

private:
    void recalculateInterval();
    void pickAtRandom();
    void queryUnanswered();
    void setUnansweredText(const std::string& text);
    [[nodiscard]] std::string clientsWhileUnanswered() const;
    void tell(SyncEvent event);
    void reportClockStep();

    Clock& clock_;
    DatagramSocket& socket_;
    std::uint16_t referencePort_;
    Diagnostics* diagnostics_;
    std::unique_ptr<TimeQuery> query_;
    Timer tickTimer_;
    Timer unansweredTimer_;
    ServerList servers_;
    SyncSchedule schedule_;
    SyncSettings settings_;
    SyncState state_;
    std::function<double()> random_;
    bool strict_ = false;
    bool syncRequested_ = false;
};

} // namespace cvl
