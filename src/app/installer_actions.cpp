#include "app/installer_actions.h"

#include "core/settings_values.h"

#include "platform/windows/event_log.h"
#include "platform/windows/firewall_rule.h"
#include "platform/windows/registry_settings_store.h"
#include "platform/windows/run_key_autostart.h"
#include "platform/windows/service_control.h"
#include "platform/windows/wide_text.h"

#include <array>
#include <map>

#include <windows.h>

namespace cvl {

namespace {

// The properties that name a settings value, and the value's name.
constexpr std::array<std::pair<const char*, const char*>, 6> kSettingProperties{{
    {"SETTINGS", "Settings"},
    {"NTP37", "NTP37"},
    {"SNTP123", "SNTP123"},
    {"UNIX519", "UNIX519"},
    {"CVL3777", "CVL3777"},
    {"DTS13", "DTS13"},
}};

std::string programPath() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), DWORD(path.size())));
    return utf8FromWide(path);
}

class Outcome {
public:
    // Notes a step; a failed one goes to the Event Log, where an administrator looks.
    void step(bool done, const std::string& what) {
        if (!done) {
            failed_ = true;
            events_.write(EventKind::Warning, "The installation could not " + what + ".");
        }
    }
    [[nodiscard]] int status() const { return failed_ ? 1 : 0; }

private:
    EventLog events_;
    bool failed_ = false;
};

int afterInstall(const std::vector<std::string>& assignments) {
    std::map<std::string, std::string> properties;
    for (const std::string& word : assignments) {
        const std::size_t equals = word.find('=');
        if (equals != std::string::npos) {
            properties[word.substr(0, equals)] = word.substr(equals + 1);
        }
    }
    const std::string program = programPath();
    Outcome outcome;
    // Only what the administrator gave: an upgrade keeps what the operator chose.
    RegistrySettingsStore settings;
    for (const auto& [property, value] : kSettingProperties) {
        const std::string& given = properties[property];
        if (!given.empty()) {
            outcome.step(settings.write(value, given).ok(),
                         std::string("write the setting ") + value);
        }
    }
    // The region alone: the general value as it stands (or its default) with that one field.
    if (const std::string& region = properties["REGION"]; !region.empty()) {
        std::string general;
        if (!settings.read("Settings", general).ok() || general.empty()) {
            general = kGeneralDefault;
        }
        GeneralSetting setting = parseGeneralSetting(general);
        setting.regionCode = region;
        outcome.step(settings.write("Settings", formatGeneralSetting(setting)).ok(),
                     "write the region");
    }
    RunKeyAutostart runAtLogon;
    if (properties["SERVICE"] == "1") {
        runAtLogon.remove();
        outcome.step(installService(program), "install and start the service ChronvaleServer");
    } else {
        removeService();
        if (properties["RUNATLOGON"] == "1") {
            outcome.step(runAtLogon.write(program), "add the start at logon");
        } else {
            runAtLogon.remove();
        }
    }
    if (properties["FIREWALL"] == "1") {
        outcome.step(addFirewallRule(program), "add the firewall rule \"Chronvale Server\"");
    } else {
        removeFirewallRule();
    }
    return outcome.status();
}

int beforeRemove() {
    Outcome outcome;
    outcome.step(removeService(), "remove the service ChronvaleServer");
    RunKeyAutostart().remove();
    removeFirewallRule();
    return outcome.status();
}

} // namespace

std::optional<int> runInstallerAction(const std::vector<std::string>& words) {
    if (words.empty()) {
        return std::nullopt;
    }
    if (words.front() == "--installed") {
        return afterInstall({words.begin() + 1, words.end()});
    }
    if (words.front() == "--removing") {
        return beforeRemove();
    }
    return std::nullopt;
}

} // namespace cvl
