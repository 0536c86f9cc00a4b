#include "platform/linux/ini_settings_store.h"

#include "platform/ini_file.h"
#include "platform/linux/atomic_file.h"
#include "platform/linux/xdg_folders.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace cvl {

namespace {

SettingsResult failure(SettingsStatus status, int error) {
    return SettingsResult{status, error, std::generic_category().message(error)};
}

} // namespace

IniSettingsStore::IniSettingsStore(std::string filePath)
    : path_(std::move(filePath)) {}

int IniSettingsStore::load(std::map<std::string, std::string>& values) const {
    values.clear();
    const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return errno == ENOENT ? 0 : errno;
    }
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            const int error = errno;
            ::close(fd);
            return error;
        }
        if (got == 0) {
            break;
        }
        text.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(fd);
    values = ini::parse(text);
    return 0;
}

SettingsResult IniSettingsStore::keyExists() const {
    std::map<std::string, std::string> values;
    if (const int error = load(values); error != 0) {
        return failure(SettingsStatus::CantOpen, error);
    }
    // Only a value of [General] counts: other sections are what earlier releases left.
    for (const auto& entry : values) {
        if (entry.first.find('/') == std::string::npos) {
            return {};
        }
    }
    return SettingsResult{SettingsStatus::NotFound};
}

SettingsResult IniSettingsStore::read(const std::string& name, std::string& text) const {
    text.clear();
    std::map<std::string, std::string> values;
    if (const int error = load(values); error != 0) {
        return failure(SettingsStatus::CantRead, error);
    }
    const auto found = values.find(ini::normalizedKey(name));
    if (found == values.end()) {
        return SettingsResult{SettingsStatus::NotFound};
    }
    text = found->second;
    return {};
}

SettingsResult IniSettingsStore::write(const std::string& name, const std::string& text) {
    // An empty name (or one of slashes only) has no line in the file.
    const std::string key = ini::normalizedKey(name);
    if (key.empty()) {
        return SettingsResult{SettingsStatus::InvalidParameter};
    }
    std::map<std::string, std::string> values;
    if (const int error = load(values); error != 0) {
        return failure(SettingsStatus::AccessDenied, error);
    }
    // Renaming a new file into place needs only the folder's rights: a file the operator made
    // read-only would be replaced all the same. Without a write bit it is refused even to
    // root, who may write anything.
    struct stat file {};
    if (::stat(path_.c_str(), &file) == 0 && (file.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
        return failure(SettingsStatus::AccessDenied, EACCES);
    }
    if (::faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT) {
        return failure(SettingsStatus::AccessDenied, errno);
    }
    values[key] = text;
    makeParentFolders(path_);
    errno = 0;
    if (!writeFileAtomically(path_, ini::format(values))) {
        // The call that failed left its reason in errno (a short write leaves none).
        return failure(SettingsStatus::AccessDenied, errno != 0 ? errno : EIO);
    }
    return {};
}

std::string defaultSettingsPath() {
    const std::string name = "chronvale-server.conf";
    if (::geteuid() == 0) {
        return "/etc/chronvale-server/" + name;
    }
    return xdgConfigHome() + "/chronvale-server/" + name;
}

} // namespace cvl
