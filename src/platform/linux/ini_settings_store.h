// The settings kept in one INI file: one Name=text line each under [General]. The file is read
// afresh for every question and rewritten whole for every change, through a temporary file
// renamed into place, so a crash never leaves half a file. Anything else an earlier release
// left in the file (other sections) is kept as it is.
#pragma once

#include "platform/settings_store.h"

#include <map>
#include <string>

namespace cvl {

class IniSettingsStore final : public SettingsStore {
public:
    explicit IniSettingsStore(std::string filePath);

    [[nodiscard]] std::string location() const override { return path_; }
    [[nodiscard]] SettingsResult keyExists() const override;
    [[nodiscard]] SettingsResult read(const std::string& name, std::string& text) const override;
    SettingsResult write(const std::string& name, const std::string& text) override;

private:
    // The file's values, or the errno of the read that failed; no file yet is no values.
    int load(std::map<std::string, std::string>& values) const;

    std::string path_;
};

// Where the settings live unless --settings names a file: the machine-wide file when this
// process may write it (running as root), otherwise the user's own.
[[nodiscard]] std::string defaultSettingsPath();

} // namespace cvl
