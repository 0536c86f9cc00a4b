// The server controller: owns the settings in memory, the listeners and (as they arrive) the
// time base, the services and the synchronisation client. Start-up and shutdown run here in
// their fixed order; windows and the daemon are views that call its methods and show what
// its signals report.
#pragma once

#include "core/registry.h"
#include "core/service_listeners.h"
#include "core/settings_values.h"

#include <QObject>

namespace cvl {

class Autostart;
class Clock;
class HostInfo;
class Launcher;
class Prompter;
class SettingsStore;
class TimeZone;

// The operating system as the server reaches it.
struct Platform {
    Clock& clock;
    TimeZone& timeZone;
    SettingsStore& settings;
    Autostart& autostart;
    HostInfo& host;
    Prompter& prompter;
    Launcher& launcher;
};

struct ServerOptions {
    quint16 referencePort = 123;
    QString updateHost;
    quint16 updatePort = 80;
};

// The synchronisation controls as the operator left them (interval number and unit text,
// random choice of server).
struct SyncControls {
    bool randomCheck = false;
    QString syncN;
    QString syncUnit;
};

class CVL_Server final : public QObject {
    Q_OBJECT
public:
    CVL_Server(const Platform& platform, ServerOptions options, QObject* parent = nullptr);
    ~CVL_Server() override;

    // Start-up and shutdown, in their fixed orders. The check for another running copy is
    // made before the server is built.
    void start();
    void shutdown();

    // Reads the settings, opening the listeners they enable.
    void ReadCVLFile();
    // Writes the settings back, in their fixed order.
    void writeSettings();

    [[nodiscard]] ServiceListeners& listeners() { return *listeners_; }
    [[nodiscard]] const ServiceListeners& listeners() const { return *listeners_; }
    [[nodiscard]] bool TimeSynced() const { return listeners_->TimeSynced(); }
    void setTimeSynced();

    [[nodiscard]] static QString AppVersion();
    [[nodiscard]] const QString& statusText() const { return statusText_; }

    // Settings held in memory.
    [[nodiscard]] const SyncControls& syncControls() const { return sync_; }
    [[nodiscard]] const QString& RegionCode() const { return regionCode_; }
    [[nodiscard]] std::int16_t ntpFirstByte() const { return ntpFirstByte_; }
    [[nodiscard]] bool OpenMinimized() const { return openMinimized_; }
    [[nodiscard]] bool EnableLogging() const { return enableLogging_; }
    [[nodiscard]] bool UseJulian() const { return useJulian_; }
    [[nodiscard]] bool RunAtStartup() const { return runAtStartup_; }
    [[nodiscard]] bool LogEnabled() const { return logEnabled_; }

    void setOpenMinimized(bool on) { openMinimized_ = on; }
    void setEnableLogging(bool on);
    void setRunAtStartup(bool on);
    void setRegionCode(const QString& code) { regionCode_ = code; }

    [[nodiscard]] const Registry& registry() const { return registry_; }

signals:
    void statusTextChanged(const QString& text);

private:
    void setStatusText(const QString& text);
    void readSettings();
    void writeRunEntry();

    Platform platform_;
    ServerOptions options_;
    Registry registry_;
    ServiceListeners* listeners_;
    QString statusText_;

    SyncControls sync_;
    QString regionCode_;
    std::int16_t ntpFirstByte_ = kDefaultNtpFirstByte;
    bool openMinimized_ = false;
    bool enableLogging_ = false;
    bool useJulian_ = false;
    bool runAtStartup_ = false;
    bool runChanged_ = false;
    bool logEnabled_ = false;
    bool started_ = false;
    bool shutDown_ = false;
};

} // namespace cvl
