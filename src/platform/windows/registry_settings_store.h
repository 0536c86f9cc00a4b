// The settings in the real registry: string values read, written and deleted with the ANSI
// registry calls, each key opened for the one access and closed again.
#pragma once

#include "platform/settings_store.h"

#include <string>
#include <vector>

namespace cvl {

class RegistrySettingsStore final : public SettingsStore {
public:
    // The most a value may hold when read; a longer one reads as ERROR_MORE_DATA.
    static constexpr unsigned long kReadBufferBytes = 1024;

    [[nodiscard]] long openKey(RegistryRoot root, const std::string& subKey) const override;
    [[nodiscard]] long queryValue(RegistryRoot root, const std::string& subKey,
                                  const std::string& name, std::string& text) const override;
    long setValue(RegistryRoot root, const std::string& subKey, const std::string& name,
                  const std::string& text) override;
    long deleteValue(RegistryRoot root, const std::string& subKey,
                     const std::string& name) override;
    // The names of the key's values, in the registry's order (empty when it cannot be read).
    [[nodiscard]] std::vector<std::string> valueNames(RegistryRoot root,
                                                      const std::string& subKey) const;
};

} // namespace cvl
