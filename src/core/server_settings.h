// The settings held in memory while the server runs, and their load at start-up and save at
// shutdown, each in its fixed order. The services' own values live in their listeners'
// controls; they are read into them and written from them here.
#pragma once

#include "core/settings_values.h"
#include "sync/synchroniser.h"

#include <cstdint>
#include <functional>
#include <string>

namespace cvl {

class ServiceListeners;
class SettingsAccess;

struct ServerSettings {
    SyncSettings sync;
    std::int16_t ntpFirstByte = kDefaultNtpFirstByte;
    bool openMinimized = false;
    bool enableLogging = false;
    bool useJulian = false;
    bool strictSync = false; // as saved; the command line can switch it on as well
};

struct LoadedSettings {
    ServerSettings settings;
    // The store's complaint, for the status line; empty when all went well.
    std::string error;
};

// Reads every value, writing the defaults first on a first start; each service's value opens
// the sockets it enables, in the order start-up takes them.
[[nodiscard]] LoadedSettings loadSettings(SettingsAccess& access, ServiceListeners& listeners);

// The first write that failed: the status line's text for it and the system's own words.
// Both empty when every value was written.
struct SaveFailure {
    std::string statusText;
    std::string systemText;

    [[nodiscard]] bool failed() const { return !statusText.empty(); }
};

// Writes every value back in its order; `writeRunEntry` runs where the start-with-the-system
// entry belongs among them.
[[nodiscard]] SaveFailure saveSettings(SettingsAccess& access, const ServerSettings& settings,
                                       const ServiceListeners& listeners,
                                       const std::function<void()>& writeRunEntry);

} // namespace cvl
