#include "platform/linux/xdg_folders.h"

#include <cstdlib>

namespace cvl {

namespace {

std::string xdgFolder(const char* variable, const char* underHome) {
    const char* fromEnvironment = std::getenv(variable);
    // A relative path there does not count: the XDG rules ignore it.
    if (fromEnvironment != nullptr && *fromEnvironment == '/') {
        return fromEnvironment;
    }
    const char* home = std::getenv("HOME");
    return std::string(home != nullptr ? home : "") + underHome;
}

} // namespace

std::string xdgConfigHome() {
    return xdgFolder("XDG_CONFIG_HOME", "/.config");
}

std::string xdgDataHome() {
    return xdgFolder("XDG_DATA_HOME", "/.local/share");
}

} // namespace cvl
