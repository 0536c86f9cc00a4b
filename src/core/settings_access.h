// Every access to the settings goes through here: reading and writing the values by name, and
// the status-line texts shown when the store fails.
#pragma once

#include "platform/settings_store.h"

#include <string>

namespace cvl {

class SettingsAccess {
public:
    explicit SettingsAccess(SettingsStore& store);

    // A value's text; empty when missing or unreadable.
    [[nodiscard]] std::string read(const std::string& name);
    bool write(const std::string& name, const std::string& text);
    // Whether any setting has been saved (no first start).
    [[nodiscard]] bool keyExists();
    [[nodiscard]] std::string location() const { return store_.location(); }

    // The status-line text of the last access's failure; empty after a success or a plain
    // missing value.
    [[nodiscard]] const std::string& lastError() const { return lastError_; }
    // The system's own words for that failure.
    [[nodiscard]] const std::string& lastSystemText() const { return lastSystemText_; }

private:
    void note(const SettingsResult& result);

    SettingsStore& store_;
    std::string lastError_;
    std::string lastSystemText_;
};

// The status line's text for a store's result: empty for a success or a missing value.
[[nodiscard]] std::string statusLineText(const SettingsResult& result);

} // namespace cvl
