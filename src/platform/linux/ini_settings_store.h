// The registry-like store kept in one INI file. The program's own key (HKEY_LOCAL_MACHINE
// "Software\Chronvale Server") holds its values at the top level, one Name=text line each
// under [General]; any other key becomes a group named after its root and path. The file is
// read afresh for every question and rewritten whole for every change, through a temporary
// file renamed into place, so a crash never leaves half a file.
#pragma once

#include "platform/settings_store.h"

#include <map>
#include <string>

namespace cvl {

class IniSettingsStore final : public SettingsStore {
public:
    explicit IniSettingsStore(std::string filePath);

    [[nodiscard]] long openKey(RegistryRoot root, const std::string& subKey) const override;
    [[nodiscard]] long queryValue(RegistryRoot root, const std::string& subKey,
                                  const std::string& name, std::string& text) const override;
    long setValue(RegistryRoot root, const std::string& subKey, const std::string& name,
                  const std::string& text) override;
    long deleteValue(RegistryRoot root, const std::string& subKey,
                     const std::string& name) override;

    [[nodiscard]] const std::string& filePath() const { return path_; }

private:
    // The file's values; false when it exists but cannot be read.
    bool load(std::map<std::string, std::string>& values) const;
    // ERROR_SUCCESS, or ERROR_ACCESS_DENIED when the file cannot be written.
    long save(const std::map<std::string, std::string>& values);

    std::string path_;
};

// Where the settings live unless --settings names a file: the machine-wide file when this
// process may write it (running as root), otherwise the user's own.
[[nodiscard]] std::string defaultSettingsPath();

} // namespace cvl
