// Every access to the settings store goes through here: read, write and delete of text
// values, the split of a full "HKEY_..." path, and the error texts shown for store failures.
#pragma once

#include "platform/settings_store.h"

#include <string>
#include <string_view>

namespace cvl {

class Registry {
public:
    explicit Registry(SettingsStore& store);

    // A value of the local machine; empty when missing or unreadable.
    [[nodiscard]] std::string read(const std::string& subKey, const std::string& name);
    bool write(RegistryRoot root, const std::string& subKey, const std::string& name,
               const std::string& text);
    long remove(RegistryRoot root, const std::string& subKey, const std::string& name);
    [[nodiscard]] bool keyExists(RegistryRoot root, const std::string& subKey);

    // Text of the last failure (empty after a success or a plain missing value).
    [[nodiscard]] const std::string& lastError() const { return lastError_; }

    struct SplitPath {
        RegistryRoot root = 0;
        std::string subKey;
        std::string error; // non-empty when the text is not a registry path
    };
    [[nodiscard]] static SplitPath splitPath(std::string_view fullPath);
    [[nodiscard]] static std::string errorText(long code);

private:
    void note(long code);

    SettingsStore& store_;
    std::string lastError_;
};

} // namespace cvl
