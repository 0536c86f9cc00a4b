// A registry-like store: values of text under keys, each key named by a root handle and a
// sub-key path. Results are the operating system's registry result codes, so that one table
// of error texts serves every platform.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace cvl {

using RegistryRoot = std::uint32_t;

inline constexpr RegistryRoot HKEY_CLASSES_ROOT = 0x80000000u;
inline constexpr RegistryRoot HKEY_CURRENT_USER = 0x80000001u;
inline constexpr RegistryRoot HKEY_LOCAL_MACHINE = 0x80000002u;
inline constexpr RegistryRoot HKEY_USERS = 0x80000003u;
inline constexpr RegistryRoot HKEY_PERFORMANCE_DATA = 0x80000004u;
inline constexpr RegistryRoot HKEY_CURRENT_CONFIG = 0x80000005u;
inline constexpr RegistryRoot HKEY_DYN_DATA = 0x80000006u;

// Result codes (the Win32 values).
enum RegistryResult : long {
    ERROR_SUCCESS = 0,
    ERROR_FILE_NOT_FOUND = 2,
    ERROR_ACCESS_DENIED = 5,
    ERROR_OUTOFMEMORY = 14,
    ERROR_INVALID_PARAMETER = 87,
    ERROR_MORE_DATA = 234,
    ERROR_BADDB = 1009,
    ERROR_BADKEY = 1010,
    ERROR_CANTOPEN = 1011,
    ERROR_CANTREAD = 1012,
    ERROR_CANTWRITE = 1013,
};

// "HKEY_LOCAL_MACHINE" and the like; empty for a handle that is not a predefined root.
[[nodiscard]] std::string registryRootName(RegistryRoot root);
// The predefined root of that name (exact spelling), or 0.
[[nodiscard]] RegistryRoot registryRootFromName(std::string_view name);

class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    // ERROR_SUCCESS when the key exists, ERROR_FILE_NOT_FOUND when it does not.
    [[nodiscard]] virtual long openKey(RegistryRoot root, const std::string& subKey) const = 0;
    [[nodiscard]] virtual long queryValue(RegistryRoot root, const std::string& subKey,
                                          const std::string& name, std::string& text) const = 0;
    virtual long setValue(RegistryRoot root, const std::string& subKey, const std::string& name,
                          const std::string& text) = 0;
    virtual long deleteValue(RegistryRoot root, const std::string& subKey,
                             const std::string& name) = 0;
};

} // namespace cvl
