#include "platform/settings_store.h"

#include <array>
#include <utility>

namespace cvl {

namespace {

constexpr std::array<std::pair<RegistryRoot, const char*>, 7> kRoots{{
    {HKEY_CLASSES_ROOT, "HKEY_CLASSES_ROOT"},
    {HKEY_CURRENT_USER, "HKEY_CURRENT_USER"},
    {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE"},
    {HKEY_USERS, "HKEY_USERS"},
    {HKEY_PERFORMANCE_DATA, "HKEY_PERFORMANCE_DATA"},
    {HKEY_CURRENT_CONFIG, "HKEY_CURRENT_CONFIG"},
    {HKEY_DYN_DATA, "HKEY_DYN_DATA"},
}};

} // namespace

std::string registryRootName(RegistryRoot root) {
    for (const auto& [handle, name] : kRoots) {
        if (handle == root) {
            return name;
        }
    }
    return {};
}

RegistryRoot registryRootFromName(std::string_view name) {
    for (const auto& [handle, rootName] : kRoots) {
        if (name == rootName) {
            return handle;
        }
    }
    return 0;
}

} // namespace cvl
