#include "platform/linux/xdg_autostart.h"

#include "platform/linux/atomic_file.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace cvl {

XdgAutostart::XdgAutostart(std::string configHome)
    : configHome_(std::move(configHome)) {}

std::string XdgAutostart::entryPath() const {
    return configHome_ + "/autostart/chronvale-server.desktop";
}

bool XdgAutostart::exists() const {
    return ::access(entryPath().c_str(), F_OK) == 0;
}

bool XdgAutostart::write(const std::string& command) {
    const std::string path = entryPath();
    makeParentFolders(path);
    return writeFileAtomically(path, "[Desktop Entry]\n"
                                     "Type=Application\n"
                                     "Name=Chronvale Server\n"
                                     "Comment=Network time server\n"
                                     "Exec=" +
                                         command +
                                         "\n"
                                         "Icon=chronvale-server\n"
                                         "Terminal=false\n"
                                         "X-GNOME-Autostart-enabled=true\n");
}

bool XdgAutostart::remove() {
    return ::unlink(entryPath().c_str()) == 0;
}

} // namespace cvl
