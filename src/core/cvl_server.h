// The server controller: owns the settings in memory, the listeners, the time base, the
// request log and the services. Start-up and shutdown run here in their fixed order; windows
// and the daemon are views that call its methods and show what it reports to its observers.
#pragma once

#include "core/registry.h"
#include "core/server_observer.h"
#include "core/service_listeners.h"
#include "core/settings_values.h"
#include "timebase/clock.h"
#include "platform/event_loop.h"
#include "platform/platform.h"
#include "services/service_host.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"
#include "timebase/time_base.h"
#include "update/update_check.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cvl {

class DaytimeService;
class NtpService;
class RequestLog;
class TimeQuery;
class TimeService;
class UnixTimeService;

// The update server asked unless the command line names another.
inline constexpr std::string_view kDefaultUpdateHost = "update.chronvale.net";

struct ServerOptions {
    std::uint16_t referencePort = 123;
    // Answers to the server's own query only from the server asked (the command line's
    // --strict-sync; the "StrictSync" setting can switch it on as well).
    bool strictSync = false;
    std::string updateHost{kDefaultUpdateHost};
    std::uint16_t updatePort = 80;
};

// The synchronisation controls as the operator left them (interval number and unit text,
// random choice of server).
struct SyncControls {
    bool randomCheck = false;
    std::string syncN;
    std::string syncUnit;
};

// The last client shown in one remote-host box, and when it came.
struct RemoteHost {
    std::string address;
    LocalDateTime when;
};

class CVL_Server final : public ServiceHost, public UpdateHost {
public:
    CVL_Server(const Platform& platform, ServerOptions options);
    ~CVL_Server() override;
    CVL_Server(const CVL_Server&) = delete;
    CVL_Server& operator=(const CVL_Server&) = delete;

    // Views report what they show through these; an observer leaves before it is destroyed.
    void addObserver(ServerObserver& observer);
    void removeObserver(ServerObserver& observer);

    // Start-up and shutdown, in their fixed orders. The check for another running copy is
    // made before the server is built. A window does its own start-up steps (hiding itself,
    // showing the overview) in `beforeFirstSync`, just before the first synchronisation.
    void start(const std::function<void()>& beforeFirstSync = {});
    void shutdown();

    // Reads the settings, opening the listeners they enable.
    void ReadCVLFile();
    // Writes the settings back, in their fixed order.
    void writeSettings();

    [[nodiscard]] ServiceListeners& listeners() { return *listeners_; }
    [[nodiscard]] const ServiceListeners& listeners() const { return *listeners_; }
    void setTimeSynced();

    [[nodiscard]] static std::string AppVersion();
    // The window's fixed title, and its caption as it reads now.
    [[nodiscard]] std::string windowTitle() const override { return fixedTitle(); }
    [[nodiscard]] static std::string fixedTitle();
    [[nodiscard]] std::string windowCaption() const override { return windowCaption_; }
    void setWindowCaption(const std::string& caption) override;
    [[nodiscard]] LocalDateTime localNow() const { return platform_.clock.localNow(); }
    // The configuration dialog's update button; it lives here so that a check outlives the
    // dialog that started it.
    [[nodiscard]] bool checkUpdateEnabled() const override { return checkUpdateEnabled_; }
    void setCheckUpdateEnabled(bool enabled) override;
    // The update check brought a new server file: the list is read again (and the settings
    // with it), and a first synchronisation that had nothing to ask now happens.
    void serverFileDownloaded() override;
    [[nodiscard]] const UpdateCheck& updateCheck() const { return *updateCheck_; }
    // The operator asks for an update check (the dialog's button).
    void checkForUpdates();
    // The desktop's date-and-time settings; a failure to start them is not reported.
    void openDateTimeSettings();
    [[nodiscard]] const std::string& statusText() const { return statusText_; }
    [[nodiscard]] const RemoteHost& remoteHost(int box) const { return remoteHosts_.at(box); }
    [[nodiscard]] const LocalDateTime& UpdateStamp() const { return updateStamp_; }
    // The request log's file for today (empty before start-up).
    [[nodiscard]] std::string logFilePath() const;

    // Synchronisation: the reference-server list, the schedule and the query.
    void SyncTimeNow();
    void GrabRandom();
    // The operator picks entry `index` (0-based) of the server list.
    void selectServer(int index);
    [[nodiscard]] const ServerList& servers() const { return serverList_; }
    [[nodiscard]] int selectedServer() const { return selectedServer_; }
    [[nodiscard]] const std::string& CurrentServer() const { return currentServer_; }
    [[nodiscard]] const SyncSchedule& schedule() const { return schedule_; }
    [[nodiscard]] const TimeQuery& timeQuery() const { return *timeQuery_; }
    // Typing in the interval box: returns the text as the box keeps it.
    std::string syncNChanged(std::string_view text);
    void syncNEntered();
    void syncUnitChosen(std::string_view unit);
    void setRandomCheck(bool on) { sync_.randomCheck = on; }
    // One tick of the synchronisation timer.
    void syncTick();
    // "Synchronise now" from outside the window (SIGUSR1): the query leaves at the next tick,
    // so a burst of requests makes one query.
    void requestSync() { syncRequested_ = true; }
    // The query last sent: the host asked and when (local time); empty before the first.
    [[nodiscard]] const std::string& askedServer() const { return askedServer_; }
    [[nodiscard]] const LocalDateTime& askedAt() const { return askedAt_; }
    // Whole seconds until the schedule asks again (at least one tick away).
    [[nodiscard]] std::int32_t secondsToNextSync() const;
    // How long a query may stay unanswered before the operator is told.
    static constexpr int kUnansweredAfterMs = 5000;
    // The line that says the last query has gone unanswered; empty while none has.
    [[nodiscard]] const std::string& unansweredText() const { return unansweredText_; }
    [[nodiscard]] bool strictSync() const { return strictSync_; }
    // The last query could not even leave (no such host, no route): another server is
    // tried at every tick until one can be asked.
    [[nodiscard]] bool queriesFailing() const { return queriesFailing_; }
    // The tray tip: a fixed 64-character field ending in a NUL.
    [[nodiscard]] const std::string& TipText() const { return tipText_; }
    [[nodiscard]] int lastNtpMilliseconds() const { return lastNtpMs_; }
    // Where the random choice draws from; tests make it predictable.
    void setRandomSource(std::function<double()> source) { random_ = std::move(source); }

    // Settings held in memory.
    [[nodiscard]] const SyncControls& syncControls() const { return sync_; }
    [[nodiscard]] const std::string& RegionCode() const { return regionCode_; }
    [[nodiscard]] std::int16_t ntpFirstByte() const { return ntpFirstByte_; }
    [[nodiscard]] bool OpenMinimized() const { return openMinimized_; }
    [[nodiscard]] bool EnableLogging() const { return enableLogging_; }
    [[nodiscard]] bool RunAtStartup() const { return runAtStartup_; }
    [[nodiscard]] bool LogEnabled() const;

    void setOpenMinimized(bool on) { openMinimized_ = on; }
    void setEnableLogging(bool on);
    void setRunAtStartup(bool on);
    void setRegionCode(std::string_view code);
    void setUseJulian(bool on) { useJulian_ = on; }

    // What the services reach.
    [[nodiscard]] bool TimeSynced() const override { return listeners_->TimeSynced(); }
    [[nodiscard]] bool UseJulian() const override { return useJulian_; }
    [[nodiscard]] TimeBase& timeBase() override { return timeBase_; }
    void logRequest(const RequestRecord& record) override;
    bool countRequest(ServiceId id, Transport transport) override;
    void showClient(int box, std::string_view address) override;
    // The display reads traffic from counts on its own timer: nothing is signalled per request.
    void light(Lamp lamp) override { ++lampCounts_[static_cast<std::size_t>(lamp)]; }
    [[nodiscard]] std::uint64_t lampCount(Lamp lamp) const {
        return lampCounts_[static_cast<std::size_t>(lamp)];
    }
    [[nodiscard]] bool AwaitingReply() const override;
    [[nodiscard]] bool isSyncAnswer(std::string_view datagram,
                                    const PeerAddress& from) const override;
    void acceptSyncAnswer(std::string_view answer, const PeerAddress& from) override;
    void syncDatagramFailed() override;
    [[nodiscard]] NtpReference ntpReference() const override;
    void noteNtpMilliseconds(int ms) override { lastNtpMs_ = ms; }

private:
    void setStatusText(const std::string& text);
    void readSettings();
    void writeRunEntry();
    void CalcIntC();
    void setTipText(std::string_view text);
    void setUnansweredText(const std::string& text);
    template <typename Report> void notify(Report report);
    void queryUnanswered();
    [[nodiscard]] std::string clientsWhileUnanswered() const;
    [[nodiscard]] std::string serverFilePath() const;

    Platform platform_;
    ServerOptions options_;
    Registry registry_;
    TimeBase timeBase_;
    std::unique_ptr<ServiceListeners> listeners_;
    std::unique_ptr<RequestLog> log_;
    std::unique_ptr<TimeService> timeService_;
    std::unique_ptr<DaytimeService> daytimeService_;
    std::unique_ptr<UnixTimeService> unixTimeService_;
    std::unique_ptr<NtpService> ntpService_;
    std::unique_ptr<TimeQuery> timeQuery_;
    std::unique_ptr<UpdateCheck> updateCheck_;
    Timer syncTimer_;
    Timer unansweredTimer_;
    ServerList serverList_;
    SyncSchedule schedule_;
    int selectedServer_ = -1;
    std::string currentServer_;
    std::string askedServer_;
    LocalDateTime askedAt_;
    std::string unansweredText_;
    std::string tipText_;
    int lastNtpMs_ = 0;
    std::function<double()> random_;
    std::string windowCaption_;
    bool checkUpdateEnabled_ = true;
    std::string statusText_;
    std::array<RemoteHost, 3> remoteHosts_;
    std::array<std::uint64_t, 4> lampCounts_{};
    LocalDateTime updateStamp_;
    std::vector<ServerObserver*> observers_;

    SyncControls sync_;
    std::string regionCode_;
    std::int16_t ntpFirstByte_ = kDefaultNtpFirstByte;
    bool openMinimized_ = false;
    bool enableLogging_ = false;
    bool useJulian_ = false;
    bool runAtStartup_ = false;
    bool runChanged_ = false; // switched off by the operator in this run
    bool strictSync_ = false;
    bool syncRequested_ = false;
    bool queriesFailing_ = false;
    bool settingsRead_ = false;
    bool firstSyncAsked_ = false;
    bool started_ = false;
    bool shutDown_ = false;
};

} // namespace cvl
