#include "core/cvl_server.h"

#include "log/request_log.h"
#include "platform/autostart.h"
#include "platform/host_info.h"
#include "platform/launcher.h"
#include "platform/server_file_copy.h"
#include "services/daytime_service.h"
#include "services/ntp_service.h"
#include "services/time_service.h"
#include "services/unix_time_service.h"
#include "sync/time_query.h"
#include "text/utf8.h"

#include <algorithm>
#include <random>
#include <utility>

namespace cvl {

CVL_Server::CVL_Server(const Platform& platform, ServerOptions options)
    : platform_(platform)
    , options_(std::move(options))
    , registry_(platform.settings)
    , timeBase_(platform.clock, platform.timeZone)
    , listeners_(std::make_unique<ServiceListeners>(platform.loop))
    , timeService_(std::make_unique<TimeService>(*this))
    , daytimeService_(std::make_unique<DaytimeService>(*this, platform.clock))
    , unixTimeService_(std::make_unique<UnixTimeService>(*this))
    , ntpService_(std::make_unique<NtpService>(*this))
    , timeQuery_(std::make_unique<TimeQuery>(platform.loop, platform.clock, timeBase_))
    , updateCheck_(std::make_unique<UpdateCheck>(
          platform.loop, *this, platform.prompter, platform.launcher,
          UpdatePaths{serverFilePath(), platform.host.updaterProgram()}, options_.updateHost,
          options_.updatePort, AppVersion()))
    , syncTimer_(platform.loop, [this] { syncTick(); })
    , unansweredTimer_(platform.loop, [this] { queryUnanswered(); })
    , random_([engine = std::mt19937_64(std::random_device{}())]() mutable {
        return std::uniform_real_distribution<double>(0.0, 1.0)(engine);
    })
    , windowCaption_(fixedTitle())
    , strictSync_(options_.strictSync) {
    listeners_->onStatusText = [this](const std::string& text) {
        setStatusText(text);
    };
    listeners_->onClientShown = [this](int box, std::string_view address) {
        showClient(box, address);
    };
    listeners_->onLamp = [this](Lamp lamp) {
        light(lamp);
    };
    listeners_->onServiceChanged = [this](ServiceId id) {
        notify([id](ServerObserver& view) { view.serviceChanged(id); });
    };
    listeners_->setProtocol(ServiceId::Time, timeService_.get());
    listeners_->setProtocol(ServiceId::Daytime, daytimeService_.get());
    listeners_->setProtocol(ServiceId::Unix, unixTimeService_.get());
    listeners_->setProtocol(ServiceId::Ntp, ntpService_.get());

    // The schedule counts on the event loop's monotonic timers, never on the wall clock that
    // the server steps.
    syncTimer_.setInterval(std::chrono::seconds(1));
    unansweredTimer_.setSingleShot(true);
    unansweredTimer_.setInterval(std::chrono::milliseconds(kUnansweredAfterMs));
    listeners_->onStatusTextWithdrawn = [this](const std::string& text) {
        if (statusText_ == text) {
            setStatusText({});
        }
    };
    timeQuery_->onSendFailed = [this] {
        GrabRandom();
        schedule_.retryOnNextTick();
        queriesFailing_ = true;
        unansweredTimer_.stop();
        // No server name in it: with one tried every second, the line would never settle.
        setUnansweredText("The reference server could not be asked (no such host, or no route "
                          "to it); " +
                          clientsWhileUnanswered() + "; another server is tried every second");
    };
    timeQuery_->onSent = [this] {
        queriesFailing_ = false;
    };
    timeQuery_->onSynchronised = [this] {
        unansweredTimer_.stop();
        setUnansweredText({});
        setTimeSynced();
        setTipText(' ' + timeQuery_->SyncMessage() + ' ');
        const std::string& message = timeQuery_->SyncMessage();
        notify([&message](ServerObserver& view) { view.syncMessageChanged(message); });
        notify([](ServerObserver& view) { view.checkingChanged(false); });
    };
}

CVL_Server::~CVL_Server() {
    shutdown();
}

void CVL_Server::addObserver(ServerObserver& observer) {
    observers_.push_back(&observer);
}

void CVL_Server::removeObserver(ServerObserver& observer) {
    std::erase(observers_, &observer);
}

// A view may come or go while it is told something, so the round goes over a copy.
template <typename Report> void CVL_Server::notify(Report report) {
    const std::vector<ServerObserver*> observers = observers_;
    for (ServerObserver* observer : observers) {
        if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
            report(*observer);
        }
    }
}

std::string CVL_Server::fixedTitle() {
    return "Chronvale Server " + AppVersion();
}

void CVL_Server::setWindowCaption(const std::string& caption) {
    windowCaption_ = caption;
    notify([&caption](ServerObserver& view) { view.windowCaptionChanged(caption); });
}

void CVL_Server::setCheckUpdateEnabled(bool enabled) {
    checkUpdateEnabled_ = enabled;
    notify([enabled](ServerObserver& view) { view.checkUpdateEnabledChanged(enabled); });
}

void CVL_Server::checkForUpdates() {
    setCheckUpdateEnabled(false);
    updateCheck_->QBKUpdate();
}

void CVL_Server::serverFileDownloaded() {
    serverList_ = {};
    notify([](ServerObserver& view) { view.serversChanged(); });
    ReadCVLFile();
    if (started_ && !firstSyncAsked_) {
        SyncTimeNow();
    }
}

void CVL_Server::openDateTimeSettings() {
    platform_.launcher.openDateTimeSettings();
}

std::string CVL_Server::AppVersion() {
    return std::to_string(CHRONVALE_VERSION_MAJOR) + '.' + std::to_string(CHRONVALE_VERSION_MINOR) +
           '.' + std::to_string(CHRONVALE_VERSION_PATCH);
}

void CVL_Server::start(const std::function<void()>& beforeFirstSync) {
    started_ = true;
    // A first reading of the clock, and the zone's name for the display.
    [[maybe_unused]] const auto first = timeBase_.GrabTime();
    const std::string zone = timeBase_.svrBIAS();
    notify([&zone](ServerObserver& view) { view.timeZoneChanged(zone); });

    runAtStartup_ = platform_.autostart.exists();
    ReadCVLFile();
    syncTimer_.start();

    updateStamp_ = platform_.clock.localNow();
    setTipText(fixedTitle() + ' ');
    log_ = std::make_unique<RequestLog>(platform_.clock, platform_.host.programFolder(),
                                        AppVersion(), updateStamp_);
    // Every start logs, whatever the saved setting says; the setting only decides what the
    // configuration dialog shows.
    log_->setEnabled(true);

    [[maybe_unused]] const auto second = timeBase_.GrabTime();
    log_->setIdentity(platform_.host.hostName(), platform_.host.userName(),
                      platform_.host.localAddress());

    if (beforeFirstSync) {
        beforeFirstSync();
    }
    SyncTimeNow();
}

void CVL_Server::shutdown() {
    if (!started_ || shutDown_) {
        return;
    }
    shutDown_ = true;
    syncTimer_.stop();
    unansweredTimer_.stop();
    for (const ServiceId id : kTcpCloseOrder) {
        listeners_->closeTcpListener(id);
    }
    for (const ServiceId id : kUdpCloseOrder) {
        listeners_->closeUdpSocket(id);
    }
    writeSettings();
}

std::string CVL_Server::serverFilePath() const {
    return platform_.host.programFolder() + '/' + kServerFileName;
}

void CVL_Server::ReadCVLFile() {
    std::optional<ServerList> list = readServerFile(serverFilePath());
    if (!list) {
        // Without the list there is nothing to synchronise from, and the settings wait for
        // it too: the update server is asked for the file.
        setStatusText("Reference-server file not found, asking the update server: " +
                      serverFilePath());
        updateCheck_->QBKUpdate();
        return;
    }
    updateCheck_->serverFileRead();
    serverList_ = std::move(*list);
    selectedServer_ = -1;
    notify([](ServerObserver& view) { view.serversChanged(); });
    readSettings();
    CalcIntC();
    schedule_.CalcRandR(serverList_.entries, regionCode_);
    if (!serverList_.entries.empty()) {
        selectServer(0);
    }
}

void CVL_Server::readSettings() {
    if (!registry_.keyExists(HKEY_LOCAL_MACHINE, kSettingsKey)) {
        // A first start: write the defaults, then read them back like saved values.
        registry_.write(HKEY_LOCAL_MACHINE, kSettingsKey, kGeneralValue, kGeneralDefault);
        for (const ServiceId id : kSettingsReadOrder) {
            const ServiceRow& row = serviceRow(id);
            registry_.write(HKEY_LOCAL_MACHINE, kSettingsKey, row.registryValue,
                            row.defaultSetting);
        }
    }

    const GeneralSetting general = parseGeneralSetting(registry_.read(kSettingsKey, kGeneralValue));
    sync_ = {general.randomCheck, general.syncEvery, general.syncUnit};
    regionCode_ = general.regionCode;
    ntpFirstByte_ = general.ntpFirstByte;
    openMinimized_ = isYes(registry_.read(kSettingsKey, kOpenMinimizedValue));
    enableLogging_ = isYes(registry_.read(kSettingsKey, kEnableLoggingValue));
    useJulian_ = isYes(registry_.read(kSettingsKey, kUseJulianValue));
    strictSync_ = options_.strictSync || isYes(registry_.read(kSettingsKey, kStrictSyncValue));

    for (const ServiceId id : kSettingsReadOrder) {
        listeners_->applySetting(id, registry_.read(kSettingsKey, serviceRow(id).registryValue));
    }
    if (!registry_.lastError().empty()) {
        setStatusText(registry_.lastError());
    }
    settingsRead_ = true;
}

void CVL_Server::writeSettings() {
    // Settings never read in this run are not overwritten with the window's empty state.
    if (!settingsRead_) {
        return;
    }
    // Failures here are not reported: the program is on its way out.
    const GeneralSetting general{sync_.randomCheck, sync_.syncN, sync_.syncUnit, regionCode_,
                                 ntpFirstByte_};
    registry_.write(HKEY_LOCAL_MACHINE, kSettingsKey, kGeneralValue, formatGeneralSetting(general));
    registry_.write(HKEY_LOCAL_MACHINE, kSettingsKey, kOpenMinimizedValue, yesNo(openMinimized_));
    registry_.write(HKEY_LOCAL_MACHINE, kSettingsKey, kEnableLoggingValue, yesNo(enableLogging_));
    writeRunEntry();
    for (const ServiceId id : kSettingsWriteOrder) {
        registry_.write(HKEY_LOCAL_MACHINE, kSettingsKey, serviceRow(id).registryValue,
                        listeners_->settingText(id));
    }
}

void CVL_Server::writeRunEntry() {
    if (runAtStartup_ && !runChanged_) {
        platform_.autostart.write(platform_.host.programCommand());
    } else if (runChanged_ && !runAtStartup_) {
        platform_.autostart.remove();
    }
}

void CVL_Server::setEnableLogging(bool on) {
    enableLogging_ = on;
    if (log_) {
        log_->setEnabled(on);
    }
}

bool CVL_Server::LogEnabled() const {
    return log_ && log_->enabled();
}

std::string CVL_Server::logFilePath() const {
    return log_ ? log_->currentFilePath() : std::string();
}

void CVL_Server::logRequest(const RequestRecord& record) {
    if (log_) {
        log_->logRequest(record);
    }
}

bool CVL_Server::countRequest(ServiceId id, Transport transport) {
    RequestCounter& counter =
        transport == Transport::Tcp ? listeners_->tcpRequests(id) : listeners_->udpRequests(id);
    return counter.increment();
}

void CVL_Server::showClient(int box, std::string_view address) {
    remoteHosts_.at(static_cast<std::size_t>(box)) = {std::string(address),
                                                      platform_.clock.localNow()};
}

void CVL_Server::setRunAtStartup(bool on) {
    runAtStartup_ = on;
    // Only switching it off counts as a change: the entry is then removed at shutdown, and
    // switching it on again in the same run writes it after all.
    runChanged_ = !on;
}

void CVL_Server::setTimeSynced() {
    listeners_->setTimeSynced();
}

void CVL_Server::setRegionCode(std::string_view code) {
    regionCode_ = code;
    schedule_.CalcRandR(serverList_.entries, regionCode_);
}

void CVL_Server::CalcIntC() {
    if (schedule_.CalcIntC(sync_.syncN, sync_.syncUnit) && syncTimer_.isActive()) {
        syncTimer_.start(); // restarts the one-second count
    }
}

std::string CVL_Server::syncNChanged(std::string_view text) {
    sync_.syncN = SyncSchedule::keepNumeric(text);
    return sync_.syncN;
}

void CVL_Server::syncNEntered() {
    CalcIntC();
}

void CVL_Server::syncUnitChosen(std::string_view unit) {
    sync_.syncUnit = unit;
    CalcIntC();
}

void CVL_Server::syncTick() {
    const bool due = schedule_.tick();
    if (due || syncRequested_) {
        syncRequested_ = false;
        SyncTimeNow();
    }
}

std::int32_t CVL_Server::secondsToNextSync() const {
    const std::int64_t left =
        std::int64_t{schedule_.SyncSeconds} - std::int64_t{schedule_.SyncCounter};
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(left, 1, INT32_MAX));
}

void CVL_Server::selectServer(int index) {
    if (index < 0 || index >= serverList_.count()) {
        return;
    }
    selectedServer_ = index;
    // Box position and host index agree only in a well-formed file; the host is taken by
    // position all the same.
    const std::size_t host = static_cast<std::size_t>(index) + 1;
    currentServer_ = host < serverList_.ServerHosts.size() ? serverList_.ServerHosts[host] : "";
    notify([index](ServerObserver& view) { view.selectedServerChanged(index); });
}

void CVL_Server::GrabRandom() {
    if (const std::optional<int> position = schedule_.GrabRandom(random_())) {
        selectServer(*position - 1);
    }
}

void CVL_Server::SyncTimeNow() {
    // With no list, or no server in the operator's region, nothing is asked; deliberate,
    // even when a server was picked by hand.
    if (serverList_.entries.empty() || schedule_.PoolCount == 0) {
        return;
    }
    firstSyncAsked_ = true;
    if (sync_.randomCheck) {
        GrabRandom();
    }
    if (currentServer_.empty()) {
        currentServer_ = serverList_.ServerHosts[1];
    }
    askedServer_ = utf8::trimmed(currentServer_);
    askedAt_ = platform_.clock.localNow();
    unansweredTimer_.start();
    timeQuery_->send(listeners_->udpSocket(ServiceId::Ntp), askedServer_, options_.referencePort);
    const std::string selected =
        selectedServer_ >= 0 ? serverList_.entries[static_cast<std::size_t>(selectedServer_)].text
                             : "";
    setTipText(" Checking Time Server: " + selected + ' ');
    notify([](ServerObserver& view) { view.checkingChanged(true); });
}

void CVL_Server::queryUnanswered() {
    if (!timeQuery_->AwaitingReply()) {
        return;
    }
    setUnansweredText("No answer from " + askedServer_ + " after " +
                      std::to_string(kUnansweredAfterMs / 1000) + " s; " +
                      clientsWhileUnanswered() + "; next try in " +
                      std::to_string(secondsToNextSync()) + " s");
}

std::string CVL_Server::clientsWhileUnanswered() const {
    return TimeSynced() ? "clients are still served from the last answer"
                        : "clients are refused until the first answer";
}

void CVL_Server::setUnansweredText(const std::string& text) {
    if (unansweredText_ == text) {
        return;
    }
    unansweredText_ = text;
    notify([&text](ServerObserver& view) { view.unansweredChanged(text); });
}

void CVL_Server::setTipText(std::string_view text) {
    tipText_ = tipText(text);
    const std::string visible(visibleTip(tipText_));
    notify([&visible](ServerObserver& view) { view.tipTextChanged(visible); });
}

bool CVL_Server::AwaitingReply() const {
    return timeQuery_->AwaitingReply();
}

bool CVL_Server::isSyncAnswer(std::string_view datagram, const PeerAddress& from) const {
    return timeQuery_->isAnswer(datagram, from, strictSync_);
}

void CVL_Server::acceptSyncAnswer(std::string_view answer, const PeerAddress& from) {
    // Our own answer is not traffic served.
    listeners_->udpRequests(ServiceId::Ntp).decrement();
    timeQuery_->accept(answer, from);
}

void CVL_Server::syncDatagramFailed() {
    GrabRandom();
    schedule_.retrySoon();
}

NtpReference CVL_Server::ntpReference() const {
    return {static_cast<std::uint8_t>(ntpFirstByte_), timeQuery_->RefAddress(),
            timeQuery_->LastSyncStamp()};
}

void CVL_Server::setStatusText(const std::string& text) {
    statusText_ = text;
    notify([&text](ServerObserver& view) { view.statusTextChanged(text); });
}

} // namespace cvl
