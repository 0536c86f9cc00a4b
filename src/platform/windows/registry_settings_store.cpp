#include "platform/windows/registry_settings_store.h"

#include "platform/windows/registry_key.h"
#include "platform/windows/system_error_text.h"

#include <utility>

namespace cvl {

RegistrySettingsStore::RegistrySettingsStore(std::string subKey)
    : subKey_(std::move(subKey)) {}

std::string RegistrySettingsStore::location() const {
    return "HKEY_LOCAL_MACHINE\\" + subKey_;
}

SettingsResult RegistrySettingsStore::keyExists() const {
    return settingsResultOf(RegistryKey(subKey_, KEY_READ).result());
}

SettingsResult RegistrySettingsStore::read(const std::string& name, std::string& text) const {
    return settingsResultOf(
        RegistryKey(subKey_, KEY_QUERY_VALUE).readText(name, text, kReadBufferBytes));
}

SettingsResult RegistrySettingsStore::write(const std::string& name, const std::string& text) {
    return settingsResultOf(
        RegistryKey(subKey_, KEY_SET_VALUE, RegistryKey::Mode::Create).writeText(name, text));
}

std::vector<std::string> RegistrySettingsStore::valueNames() const {
    return RegistryKey(subKey_, KEY_QUERY_VALUE).valueNames();
}

SettingsResult settingsResultOf(long win32Code) {
    SettingsStatus status = SettingsStatus::Other;
    switch (win32Code) {
    case ERROR_SUCCESS:
        return {};
    case ERROR_FILE_NOT_FOUND:
        status = SettingsStatus::NotFound;
        break;
    case ERROR_ACCESS_DENIED:
        status = SettingsStatus::AccessDenied;
        break;
    case ERROR_MORE_DATA:
        status = SettingsStatus::MoreData;
        break;
    case ERROR_BADDB:
        status = SettingsStatus::Corrupt;
        break;
    case ERROR_BADKEY:
        status = SettingsStatus::BadKey;
        break;
    case ERROR_CANTOPEN:
        status = SettingsStatus::CantOpen;
        break;
    case ERROR_CANTREAD:
        status = SettingsStatus::CantRead;
        break;
    case ERROR_CANTWRITE:
        status = SettingsStatus::CantWrite;
        break;
    case ERROR_OUTOFMEMORY:
        status = SettingsStatus::OutOfMemory;
        break;
    case ERROR_INVALID_PARAMETER:
        status = SettingsStatus::InvalidParameter;
        break;
    default:
        break;
    }
    return SettingsResult{status, win32Code,
                          systemErrorText(static_cast<unsigned long>(win32Code))};
}

} // namespace cvl
