#include "platform/linux/ini_settings_store.h"

#include "platform/ini_file.h"
#include "platform/linux/atomic_file.h"
#include "platform/linux/xdg_folders.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace cvl {

namespace {

constexpr std::string_view kHomeKey = "Software\\Chronvale Server";

bool isHomeKey(RegistryRoot root, std::string_view subKey) {
    if (root != HKEY_LOCAL_MACHINE || subKey.size() != kHomeKey.size()) {
        return false;
    }
    for (std::size_t i = 0; i < subKey.size(); ++i) {
        const auto lower = [](char c) {
            return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
        };
        if (lower(subKey[i]) != lower(kHomeKey[i])) {
            return false;
        }
    }
    return true;
}

// The group of a key in the file: none for the program's own key.
std::string groupFor(RegistryRoot root, const std::string& subKey) {
    if (isHomeKey(root, subKey)) {
        return {};
    }
    std::string group = registryRootName(root) + '/' + subKey;
    for (char& c : group) {
        if (c == '\\') {
            c = '/';
        }
    }
    return ini::normalizedKey(group);
}

std::string keyFor(RegistryRoot root, const std::string& subKey, const std::string& name) {
    const std::string group = groupFor(root, subKey);
    return ini::normalizedKey(group.empty() ? name : group + '/' + name);
}

} // namespace

IniSettingsStore::IniSettingsStore(std::string filePath)
    : path_(std::move(filePath)) {}

bool IniSettingsStore::load(std::map<std::string, std::string>& values) const {
    values.clear();
    const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return errno == ENOENT; // no file yet: no values
    }
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            ::close(fd);
            if (got < 0) {
                return false;
            }
            break;
        }
        text.append(buffer, static_cast<std::size_t>(got));
    }
    values = ini::parse(text);
    return true;
}

long IniSettingsStore::save(const std::map<std::string, std::string>& values) {
    makeParentFolders(path_);
    return writeFileAtomically(path_, ini::format(values)) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

long IniSettingsStore::openKey(RegistryRoot root, const std::string& subKey) const {
    if (registryRootName(root).empty()) {
        return ERROR_BADKEY;
    }
    std::map<std::string, std::string> values;
    if (!load(values)) {
        return ERROR_CANTOPEN;
    }
    // The key exists when it holds a value of its own (not only deeper keys).
    const std::string group = groupFor(root, subKey);
    const std::string prefix = group.empty() ? std::string() : group + '/';
    for (auto it = values.lower_bound(prefix); it != values.end(); ++it) {
        const std::string& key = it->first;
        if (!key.starts_with(prefix)) {
            break;
        }
        if (key.find('/', prefix.size()) == std::string::npos) {
            return ERROR_SUCCESS;
        }
    }
    return ERROR_FILE_NOT_FOUND;
}

long IniSettingsStore::queryValue(RegistryRoot root, const std::string& subKey,
                                  const std::string& name, std::string& text) const {
    text.clear();
    std::map<std::string, std::string> values;
    if (!load(values)) {
        return ERROR_CANTREAD;
    }
    const auto found = values.find(keyFor(root, subKey, name));
    if (found == values.end()) {
        return ERROR_FILE_NOT_FOUND;
    }
    text = found->second;
    return ERROR_SUCCESS;
}

long IniSettingsStore::setValue(RegistryRoot root, const std::string& subKey,
                                const std::string& name, const std::string& text) {
    if (registryRootName(root).empty()) {
        return ERROR_BADKEY;
    }
    const std::string key = keyFor(root, subKey, name);
    // An empty name (or one of slashes only) in the program's own key leaves no key at all.
    if (key.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    std::map<std::string, std::string> values;
    if (!load(values)) {
        return ERROR_ACCESS_DENIED;
    }
    values[key] = text;
    return save(values);
}

long IniSettingsStore::deleteValue(RegistryRoot root, const std::string& subKey,
                                   const std::string& name) {
    std::map<std::string, std::string> values;
    if (!load(values)) {
        return ERROR_ACCESS_DENIED;
    }
    if (values.erase(keyFor(root, subKey, name)) == 0) {
        return ERROR_FILE_NOT_FOUND;
    }
    return save(values);
}

std::string defaultSettingsPath() {
    const std::string name = "chronvale-server.conf";
    if (::geteuid() == 0) {
        return "/etc/chronvale-server/" + name;
    }
    return xdgConfigHome() + "/chronvale-server/" + name;
}

} // namespace cvl
