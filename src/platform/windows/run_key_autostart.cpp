#include "platform/windows/run_key_autostart.h"

#include "platform/windows/registry_key.h"

namespace cvl {

namespace {

const std::string kRunKey = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";
const std::string kRunValue = "Chronvale Server";

} // namespace

bool RunKeyAutostart::exists() const {
    return RegistryKey(kRunKey, KEY_QUERY_VALUE).hasValue(kRunValue);
}

bool RunKeyAutostart::write(const std::string& command) {
    return RegistryKey(kRunKey, KEY_SET_VALUE, RegistryKey::Mode::Create)
               .writeText(kRunValue, command) == ERROR_SUCCESS;
}

bool RunKeyAutostart::remove() {
    return RegistryKey(kRunKey, KEY_SET_VALUE).deleteValue(kRunValue) == ERROR_SUCCESS;
}

} // namespace cvl
