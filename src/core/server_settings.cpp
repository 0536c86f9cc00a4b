#include "core/server_settings.h"

#include "core/registry.h"
#include "core/service_listeners.h"
#include "core/service_table.h"

namespace cvl {

LoadedSettings loadSettings(Registry& registry, ServiceListeners& listeners) {
    if (!registry.keyExists(HKEY_LOCAL_MACHINE, kSettingsKey)) {
        // A first start: write the defaults, then read them back like saved values.
        registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, kGeneralValue, kGeneralDefault);
        for (const ServiceId id : kSettingsReadOrder) {
            const ServiceRow& row = serviceRow(id);
            registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, row.registryValue,
                           row.defaultSetting);
        }
    }

    LoadedSettings loaded;
    ServerSettings& settings = loaded.settings;
    const GeneralSetting general = parseGeneralSetting(registry.read(kSettingsKey, kGeneralValue));
    settings.sync = {general.randomCheck, general.syncEvery, general.syncUnit, general.regionCode};
    settings.ntpFirstByte = general.ntpFirstByte;
    settings.openMinimized = isYes(registry.read(kSettingsKey, kOpenMinimizedValue));
    settings.enableLogging = isYes(registry.read(kSettingsKey, kEnableLoggingValue));
    settings.useJulian = isYes(registry.read(kSettingsKey, kUseJulianValue));
    settings.strictSync = isYes(registry.read(kSettingsKey, kStrictSyncValue));

    for (const ServiceId id : kSettingsReadOrder) {
        listeners.applySetting(id, registry.read(kSettingsKey, serviceRow(id).registryValue));
    }
    loaded.error = registry.lastError();
    return loaded;
}

std::string saveSettings(Registry& registry, const ServerSettings& settings,
                         const ServiceListeners& listeners,
                         const std::function<void()>& writeRunEntry) {
    std::string firstError;
    const auto write = [&registry, &firstError](const std::string& name, const std::string& text) {
        if (!registry.write(HKEY_LOCAL_MACHINE, kSettingsKey, name, text) && firstError.empty()) {
            firstError = registry.lastError();
        }
    };
    const SyncSettings& sync = settings.sync;
    write(kGeneralValue, formatGeneralSetting({sync.randomCheck, sync.syncN, sync.syncUnit,
                                               sync.region, settings.ntpFirstByte}));
    write(kOpenMinimizedValue, yesNo(settings.openMinimized));
    write(kEnableLoggingValue, yesNo(settings.enableLogging));
    if (writeRunEntry) {
        writeRunEntry();
    }
    for (const ServiceId id : kSettingsWriteOrder) {
        write(serviceRow(id).registryValue, listeners.settingText(id));
    }
    return firstError;
}

} // namespace cvl
