// The settings in the registry, string values under the local machine's
// "Software\Chronvale Server", read and written with the ANSI registry calls, the key opened for
// each access and closed again.
#pragma once

#include "platform/settings_store.h"

#include <string>
#include <vector>

namespace cvl {

inline constexpr char kSettingsSubKey[] = "Software\\Chronvale Server";

class RegistrySettingsStore final : public SettingsStore {
public:
    // The most a value may hold when read; a longer one reads as MoreData.
    static constexpr unsigned long kReadBufferBytes = 1024;

    // Another key than the program's own is for tests, which leave the real one alone.
    explicit RegistrySettingsStore(std::string subKey = kSettingsSubKey);

    [[nodiscard]] std::string location() const override;
    [[nodiscard]] SettingsResult keyExists() const override;
    [[nodiscard]] SettingsResult read(const std::string& name, std::string& text) const override;
    SettingsResult write(const std::string& name, const std::string& text) override;

    // The names of the key's values, in the registry's order (empty when it cannot be read).
    [[nodiscard]] std::vector<std::string> valueNames() const;

private:
    std::string subKey_;
};

// A registry call's Win32 result in the settings' terms, with the system's words for it.
[[nodiscard]] SettingsResult settingsResultOf(long win32Code);

} // namespace cvl
