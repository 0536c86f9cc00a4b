#include "core/server_controller.h"

#include "core/service_listeners.h"
#include "core/serving_context.h"
#include "core/settings_access.h"
#include "log/request_log.h"
#include "platform/autostart.h"
#include "platform/host_info.h"
#include "platform/launcher.h"
#include "platform/server_file_copy.h"
#include "services/daytime_service.h"
#include "services/ntp_service.h"
#include "services/time_service.h"
#include "services/unix_time_service.h"
#include "sync/synchroniser.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace cvl {

ServerController::ServerController(const Platform& platform, ServerOptions options)
    : platform_(platform)
    , options_(std::move(options))
    , settingsAccess_(std::make_unique<SettingsAccess>(platform.settings))
    , timeBase_(platform.clock, platform.timeZone)
    , listeners_(std::make_unique<ServiceListeners>(platform.loop, &diagnostics_))
    , synchroniser_(std::make_unique<Synchroniser>(platform.loop, platform.clock, timeBase_,
                                                   listeners_->udpSocket(ServiceId::Ntp),
                                                   options_.referencePort, &diagnostics_))
    , serving_(
          std::make_unique<ServingContext>(platform.clock, timeBase_, *listeners_, *synchroniser_))
    , status_(std::make_unique<StatusModel>(platform.clock, timeBase_, *listeners_, *serving_,
                                            *synchroniser_))
    , timeService_(std::make_unique<TimeService>(*serving_, *serving_))
    , daytimeService_(std::make_unique<DaytimeService>(*serving_, *serving_, platform.clock))
    , unixTimeService_(std::make_unique<UnixTimeService>(*serving_, *serving_))
    , ntpService_(std::make_unique<NtpService>(*serving_, *serving_, *serving_))
    , updateCheck_(std::make_unique<UpdateCheck>(
          platform.loop, static_cast<UpdateHost&>(*this), platform.prompter, platform.launcher,
          UpdatePaths{serverFilePath(), platform.host.updaterProgram()}, options_.updateHost,
          options_.updatePort, appVersion())) {
    listeners_->onStatusText = [this](const std::string& text) {
        status_->setStatusLine(text);
    };
    listeners_->onStatusTextWithdrawn = [this](const std::string& text) {
        status_->withdrawStatusLine(text);
    };
    listeners_->onClientShown = [this](int box, std::string_view address) {
        serving_->showClient(box, address);
    };
    listeners_->onLamp = [this](Lamp lamp) {
        serving_->light(lamp);
    };
    listeners_->onServiceChanged = [this](ServiceId) {
        status_->changed(StatusChange::Services);
    };
    listeners_->setProtocol(ServiceId::Time, timeService_.get());
    listeners_->setProtocol(ServiceId::Daytime, daytimeService_.get());
    listeners_->setProtocol(ServiceId::Unix, unixTimeService_.get());
    listeners_->setProtocol(ServiceId::Ntp, ntpService_.get());
    synchroniser_->onEvent = [this](SyncEvent event) {
        if (event == SyncEvent::Synchronised) {
            listeners_->setTimeSynced();
        }
        status_->syncEvent(event);
    };
}

ServerController::~ServerController() {
    shutdown();
}

bool ServerController::checkUpdateEnabled() const {
    return status_->checkUpdateEnabled();
}

void ServerController::setCheckUpdateEnabled(bool enabled) {
    status_->setCheckUpdateEnabled(enabled);
}

void ServerController::checkForUpdates() {
    setCheckUpdateEnabled(false);
    updateCheck_->start();
}

void ServerController::serverFileDownloaded() {
    synchroniser_->setServers({});
    readServerFile();
    if (started_ && !synchroniser_->state().asked) {
        synchroniser_->syncNow();
    }
}

void ServerController::openDateTimeSettings() {
    platform_.launcher.openDateTimeSettings();
}

void ServerController::start(const std::function<void()>& beforeFirstSync) {
    started_ = true;
    // A first reading of the clock, and the zone's name for the display.
    [[maybe_unused]] const auto first = timeBase_.ntpNow();
    timeBase_.readZone();
    status_->changed(StatusChange::TimeZone);

    runAtStartup_ = platform_.autostart.exists();
    readServerFile();
    synchroniser_->start();

    const LocalDateTime started = platform_.clock.localNow();
    status_->setTip(fixedTitle() + ' ');
    auto log = std::make_unique<RequestLog>(platform_.clock, platform_.host.programFolder(),
                                            appVersion(), started, &diagnostics_);
    // Every start logs, whatever the saved setting says; the setting only decides what the
    // configuration dialog shows.
    log->setEnabled(true);
    [[maybe_unused]] const auto second = timeBase_.ntpNow();
    log->setIdentity(platform_.host.hostName(), platform_.host.userName(),
                     platform_.host.localAddress());
    serving_->openLog(std::move(log));

    if (beforeFirstSync) {
        beforeFirstSync();
    }
    synchroniser_->syncNow();
}

void ServerController::shutdown() {
    if (!started_ || shutDown_) {
        return;
    }
    shutDown_ = true;
    synchroniser_->stop();
    for (const ServiceId id : kTcpCloseOrder) {
        listeners_->closeTcpListener(id);
    }
    for (const ServiceId id : kUdpCloseOrder) {
        listeners_->closeUdpSocket(id);
    }
    writeSettings();
}

std::string ServerController::serverFilePath() const {
    return platform_.host.programFolder() + '/' + kServerFileName;
}

void ServerController::readServerFile() {
    static const std::string topic = "reference-server file";
    const std::string path = serverFilePath();
    errno = 0;
    std::optional<ServerList> list = cvl::readServerFile(path);
    // A failed open leaves the system's reason in errno.
    const int openError = errno;
    if (!list) {
        // Without the list there is nothing to synchronise from, and the settings wait for
        // it too: the update server is asked for the file.
        status_->setStatusLine("Reference-server file not found, asking the update server: " +
                               path);
        diagnostics_.report(topic, Severity::Warning,
                            "the reference-server file " + path + " cannot be read: " +
                                (openError != 0 ? std::generic_category().message(openError)
                                                : std::string("not found")) +
                                "; asking the update server for it; nothing is synchronised "
                                "or served until it comes");
        updateCheck_->start();
        return;
    }
    if (list->entries.empty()) {
        diagnostics_.report(topic, Severity::Warning,
                            "the reference-server file " + path +
                                " lists no server: the server has nothing to synchronise from");
    } else {
        diagnostics_.clear(topic);
    }
    updateCheck_->serverFileRead();
    const LoadedSettings loaded = loadSettings(*settingsAccess_, *listeners_);
    // The list is taken once the region is known, so that its pool is drawn up from it.
    applySettings(loaded);
    synchroniser_->setServers(std::move(*list));
    if (!loaded.error.empty()) {
        status_->setStatusLine(loaded.error);
    }
    settingsRead_ = true;
}

void ServerController::applySettings(const LoadedSettings& loaded) {
    settings_ = loaded.settings;
    synchroniser_->applySettings(settings_.sync);
    synchroniser_->setStrict(options_.strictSync || settings_.strictSync);
    serving_->setUseJulian(settings_.useJulian);
    serving_->setNtpFirstByte(settings_.ntpFirstByte);
}

ServerSettings ServerController::settings() const {
    ServerSettings now = settings_;
    now.sync = synchroniser_->settings();
    return now;
}

void ServerController::writeSettings() {
    // Settings never read in this run are not overwritten with the window's empty state.
    if (!settingsRead_) {
        return;
    }
    const SaveFailure failure =
        saveSettings(*settingsAccess_, settings(), *listeners_, [this] { writeRunEntry(); });
    // The program is on its way out: the status line would go unseen.
    if (failure.failed()) {
        diagnostics_.report(
            "settings", Severity::Error,
            "the settings could not be written to " + settingsAccess_->location() + ": " +
                (failure.systemText.empty() ? failure.statusText : failure.systemText) +
                "; the changes of this run are lost");
    }
}

void ServerController::writeRunEntry() {
    if (runAtStartup_ && !runChanged_) {
        platform_.autostart.write(platform_.host.programCommand());
    } else if (runChanged_ && !runAtStartup_) {
        platform_.autostart.remove();
    }
}

void ServerController::setEnableLogging(bool on) {
    settings_.enableLogging = on;
    serving_->setLogEnabled(on);
}

bool ServerController::logEnabled() const {
    return serving_->log() != nullptr && serving_->log()->enabled();
}

std::string ServerController::logFilePath() const {
    return serving_->log() != nullptr ? serving_->log()->currentFilePath() : std::string();
}

void ServerController::setRunAtStartup(bool on) {
    runAtStartup_ = on;
    // Only switching it off counts as a change: the entry is then removed at shutdown, and
    // switching it on again in the same run writes it after all.
    runChanged_ = !on;
}

void ServerController::setRegionCode(std::string_view code) {
    synchroniser_->setRegion(code);
}

void ServerController::setUseJulian(bool on) {
    settings_.useJulian = on;
    serving_->setUseJulian(on);
}

} // namespace cvl
