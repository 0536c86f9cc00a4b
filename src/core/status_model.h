// Everything a face of the server shows, worked out in one place: the window's caption, the
// tray tip, the status line, the overview's lines, each service's sockets, counters and state,
// the last clients, the lamps, the synchronisation's result, next try and unanswered notice.
// The Qt window, the Windows window and the headless lines lay out what this says and format
// no server state of their own. Texts that follow events are kept here and announced with one
// change notification; counters and clients, which move with every request, are read when a
// face draws, so that a busy server does no display work per request.
#pragma once

#include "core/service_listeners.h"
#include "core/serving_context.h"
#include "sync/synchroniser.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace cvl {

class Clock;
class TimeBase;

// What changed since a face last looked.
enum class StatusChange {
    Caption,
    Tip,
    StatusLine,
    TimeZone,
    Servers,
    SelectedServer,
    Synchronised, // a new synchronisation result
    Checking,     // a query left, or its answer came
    UpdateButton,
    Services,
    Unanswered,
};

class StatusObserver {
public:
    virtual ~StatusObserver() = default;
    virtual void statusChanged(StatusChange change) = 0;
};

// One service as its page and the overview show it.
struct ServiceStatus {
    std::string name;        // "NTP / SNTP"
    std::string description; // one sentence on what it answers
    std::string title;       // its node of the service tree
    ServiceControls controls;
    std::string tcpState; // "closed", "listening on port 37", or held until the first answer
    std::string udpState; // "closed" or "bound to port 37"
    // The open sockets, one entry each ("TCP 37", "UDP 37"); empty when all are closed.
    std::vector<std::string> sockets;
    std::string tcpRequests; // the count, or "not counted"
    std::string udpRequests;
    bool countsTcpRequests = false;
    std::string lastClient; // "none yet", or the address and when
    std::string lastReply;  // NTP only: the millisecond reading of its last reply
};

// The overview: whom the server asked and what it got. Lines that do not apply are empty.
struct OverviewStatus {
    bool synchronised = false;
    std::string clients;    // whether clients are answered
    std::string lastQuery;  // before the first answer: whom we wait for
    std::string nextQuery;  // "in 12 s"
    std::string unanswered; // the notice, while a query goes unanswered
    std::string syncResult; // after it: what we got
    std::string reference;  // and from whom
};

// A remote-host box: the address, and when it came as the box's tip.
struct ClientBox {
    std::string address;
    std::string toolTip;
};

class StatusModel final {
public:
    StatusModel(const Clock& clock, const TimeBase& timeBase, const ServiceListeners& listeners,
                const ServingContext& serving, const Synchroniser& synchroniser);
    StatusModel(const StatusModel&) = delete;
    StatusModel& operator=(const StatusModel&) = delete;

    // A face leaves before it is destroyed.
    void addObserver(StatusObserver& observer);
    void removeObserver(StatusObserver& observer);

    [[nodiscard]] const std::string& caption() const { return caption_; }
    // The tray tip as a fixed 64-character field ending in a NUL, and as it shows.
    [[nodiscard]] const std::string& tipField() const { return tipField_; }
    [[nodiscard]] std::string tip() const;
    [[nodiscard]] const std::string& statusLine() const { return statusLine_; }
    [[nodiscard]] std::string timeZoneLabel() const;
    [[nodiscard]] std::string clockText() const;
    [[nodiscard]] bool synchronised() const;
    [[nodiscard]] bool checking() const { return checking_; }
    [[nodiscard]] bool checkUpdateEnabled() const { return checkUpdateEnabled_; }
    // The last synchronisation's message in full (the tip may cut it short); empty before.
    [[nodiscard]] const std::string& syncMessage() const;
    // The reference-server box's tip: the last answer's round trip and offset.
    [[nodiscard]] const std::string& serverToolTip() const;
    [[nodiscard]] const SyncState& sync() const { return synchroniser_.state(); }
    [[nodiscard]] OverviewStatus overview() const;
    [[nodiscard]] ServiceStatus service(ServiceId id) const;
    [[nodiscard]] ClientBox clientBox(int box) const;
    [[nodiscard]] std::uint64_t lampCount(Lamp lamp) const { return serving_.lampCount(lamp); }

    // What the controller tells it.
    void setCaption(const std::string& caption);
    void setTip(std::string_view text);
    void setStatusLine(const std::string& text);
    // Takes back a line that no longer holds, unless another has replaced it since.
    void withdrawStatusLine(const std::string& text);
    void setCheckUpdateEnabled(bool enabled);
    void syncEvent(SyncEvent event);
    void changed(StatusChange change);

private:
    const Clock& clock_;
    const TimeBase& timeBase_;
    const ServiceListeners& listeners_;
    const ServingContext& serving_;
    const Synchroniser& synchroniser_;
    std::vector<StatusObserver*> observers_;
    std::string caption_;
    std::string tipField_;
    std::string statusLine_;
    bool checking_ = false;
    bool checkUpdateEnabled_ = true;
};

// The product's name and version, as the window's title and the first tip show it.
[[nodiscard]] std::string fixedTitle();
[[nodiscard]] std::string appVersion();

} // namespace cvl
