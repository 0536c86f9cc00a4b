#include "platform/windows/run_key_autostart.h"

namespace cvl {

namespace {

const std::string kRunKey = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";
const std::string kRunValue = "Chronvale Server";

} // namespace

bool RunKeyAutostart::exists() const {
    std::string command;
    return registry_.queryValue(HKEY_LOCAL_MACHINE, kRunKey, kRunValue, command) == ERROR_SUCCESS;
}

bool RunKeyAutostart::write(const std::string& command) {
    return registry_.setValue(HKEY_LOCAL_MACHINE, kRunKey, kRunValue, command) == ERROR_SUCCESS;
}

bool RunKeyAutostart::remove() {
    return registry_.deleteValue(HKEY_LOCAL_MACHINE, kRunKey, kRunValue) == ERROR_SUCCESS;
}

} // namespace cvl
