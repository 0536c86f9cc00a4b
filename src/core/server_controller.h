// The server as one piece: it owns the settings in memory, the listeners, the services and
// what they reach, the synchronisation, the update check and the status model, and runs
// start-up and shutdown in their fixed orders. The faces read the status model and hand the
// operator's actions to the part they concern.
#pragma once

#include "core/server_settings.h"
#include "core/status_model.h"
#include "log/diagnostics.h"
#include "platform/platform.h"
#include "timebase/time_base.h"
#include "update/update_check.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace cvl {

class DaytimeService;
class NtpService;
class ServiceListeners;
class ServingContext;
class SettingsAccess;
class Synchroniser;
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

class ServerController final : private UpdateHost {
public:
    ServerController(const Platform& platform, ServerOptions options);
    ~ServerController() override;
    ServerController(const ServerController&) = delete;
    ServerController& operator=(const ServerController&) = delete;

    // Start-up and shutdown, in their fixed orders. The check for another running copy is
    // made before the server is built. A window does its own start-up steps (hiding itself,
    // showing the overview) in `beforeFirstSync`, just before the first synchronisation.
    void start(const std::function<void()>& beforeFirstSync = {});
    void shutdown();

    // Failures the status line leaves unsaid; a face sets where they go before start().
    [[nodiscard]] Diagnostics& diagnostics() { return diagnostics_; }
    [[nodiscard]] StatusModel& status() { return *status_; }
    [[nodiscard]] const StatusModel& status() const { return *status_; }
    [[nodiscard]] ServiceListeners& listeners() { return *listeners_; }
    [[nodiscard]] Synchroniser& synchroniser() { return *synchroniser_; }
    [[nodiscard]] ServingContext& serving() { return *serving_; }
    [[nodiscard]] TimeBase& timeBase() { return timeBase_; }

    // The settings as they stand now, and the operator's changes to them.
    [[nodiscard]] ServerSettings settings() const;
    [[nodiscard]] bool runAtStartup() const { return runAtStartup_; }
    void setOpenMinimized(bool on) { settings_.openMinimized = on; }
    void setEnableLogging(bool on);
    void setRunAtStartup(bool on);
    void setRegionCode(std::string_view code);
    void setUseJulian(bool on);
    // Reads the reference-server file and then the settings, opening the listeners they
    // enable; writes the settings back.
    void readServerFile();
    void writeSettings();
    // The request log's file for today (empty before start-up), and whether it writes.
    [[nodiscard]] std::string logFilePath() const;
    [[nodiscard]] bool logEnabled() const;

    // The configuration dialog's update button; the check lives here so that it outlives
    // the dialog that started it.
    void checkForUpdates();
    [[nodiscard]] const UpdateCheck& updateCheck() const { return *updateCheck_; }
    // The desktop's date-and-time settings; a failure to start them is not reported.
    void openDateTimeSettings();

private:
    // What the update check reaches.
    [[nodiscard]] std::string windowTitle() const override { return fixedTitle(); }
    [[nodiscard]] std::string windowCaption() const override { return status_->caption(); }
    void setWindowCaption(const std::string& caption) override { status_->setCaption(caption); }
    [[nodiscard]] bool checkUpdateEnabled() const override;
    void setCheckUpdateEnabled(bool enabled) override;
    // The update check brought a new server file: the list is read again (and the settings
    // with it), and a first synchronisation that had nothing to ask now happens.
    void serverFileDownloaded() override;

    void applySettings(const LoadedSettings& loaded);
    void writeRunEntry();
    void synchronised();
    [[nodiscard]] std::string serverFilePath() const;

    Platform platform_;
    ServerOptions options_;
    Diagnostics diagnostics_;
    std::unique_ptr<SettingsAccess> settingsAccess_;
    TimeBase timeBase_;
    std::unique_ptr<ServiceListeners> listeners_;
    std::unique_ptr<Synchroniser> synchroniser_;
    std::unique_ptr<ServingContext> serving_;
    std::unique_ptr<StatusModel> status_;
    std::unique_ptr<TimeService> timeService_;
    std::unique_ptr<DaytimeService> daytimeService_;
    std::unique_ptr<UnixTimeService> unixTimeService_;
    std::unique_ptr<NtpService> ntpService_;
    std::unique_ptr<UpdateCheck> updateCheck_;

    ServerSettings settings_;
    bool runAtStartup_ = false;
    bool runChanged_ = false; // switched off by the operator in this run
    bool settingsRead_ = false;
    bool started_ = false;
    bool shutDown_ = false;
};

} // namespace cvl
