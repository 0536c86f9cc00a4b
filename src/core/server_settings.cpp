#include "core/server_settings.h"

#include "core/service_listeners.h"
#include "core/service_table.h"
#include "core/settings_access.h"

namespace cvl {

LoadedSettings loadSettings(SettingsAccess& access, ServiceListeners& listeners) {
    if (!access.keyExists()) {
        // A first start: write the defaults, then read them back like saved values.
        access.write(kGeneralValue, kGeneralDefault);
        for (const ServiceId id : kSettingsReadOrder) {
            const ServiceRow& row = serviceRow(id);
            access.write(row.registryValue, row.defaultSetting);
        }
    }

    LoadedSettings loaded;
    ServerSettings& settings = loaded.settings;
    const GeneralSetting general = parseGeneralSetting(access.read(kGeneralValue));
    settings.sync = {general.randomCheck, general.syncEvery, general.syncUnit, general.regionCode};
    settings.ntpFirstByte = general.ntpFirstByte;
    settings.openMinimized = isYes(access.read(kOpenMinimizedValue));
    settings.enableLogging = isYes(access.read(kEnableLoggingValue));
    settings.useJulian = isYes(access.read(kUseJulianValue));
    settings.strictSync = isYes(access.read(kStrictSyncValue));

    for (const ServiceId id : kSettingsReadOrder) {
        listeners.applySetting(id, access.read(serviceRow(id).registryValue));
    }
    loaded.error = access.lastError();
    return loaded;
}

SaveFailure saveSettings(SettingsAccess& access, const ServerSettings& settings,
                         const ServiceListeners& listeners,
                         const std::function<void()>& writeRunEntry) {
    SaveFailure first;
    const auto write = [&access, &first](const std::string& name, const std::string& text) {
        if (!access.write(name, text) && !first.failed()) {
            first = {access.lastError(), access.lastSystemText()};
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
    return first;
}

} // namespace cvl
