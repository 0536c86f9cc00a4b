#include "platform/windows/run_key_autostart.h"

#include "platform/windows/registry_key.h"
#include "platform/windows/registry_settings_store.h"

namespace cvl {

namespace {

const std::string kRunKey = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";
const std::string kRunValue = "Chronvale Server";

} // namespace

bool RunKeyAutostart::exists() const {
    // Read through the same fixed buffer as every setting: a value too long for it does not
    // count as the program's entry.
    std::string command;
    return RegistryKey(kRunKey, KEY_QUERY_VALUE)
               .readText(kRunValue, command, RegistrySettingsStore::kReadBufferBytes) ==
           ERROR_SUCCESS;
}

bool RunKeyAutostart::write(const std::string& command) {
    return RegistryKey(kRunKey, KEY_SET_VALUE, RegistryKey::Mode::Create)
               .writeText(kRunValue, command) == ERROR_SUCCESS;
}

bool RunKeyAutostart::remove() {
    return RegistryKey(kRunKey, KEY_SET_VALUE).deleteValue(kRunValue) == ERROR_SUCCESS;
}

} // namespace cvl
