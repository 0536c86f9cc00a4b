#include "core/settings_access.h"

namespace cvl {

SettingsAccess::SettingsAccess(SettingsStore& store)
    : store_(store) {}

void SettingsAccess::note(const SettingsResult& result) {
    lastError_ = statusLineText(result);
    lastSystemText_ = lastError_.empty() ? std::string() : result.systemText;
}

std::string SettingsAccess::read(const std::string& name) {
    std::string text;
    const SettingsResult result = store_.read(name, text);
    note(result);
    return result.ok() ? text : std::string();
}

bool SettingsAccess::write(const std::string& name, const std::string& text) {
    const SettingsResult result = store_.write(name, text);
    note(result);
    return result.ok();
}

bool SettingsAccess::keyExists() {
    const SettingsResult result = store_.keyExists();
    note(result);
    return result.ok();
}

std::string statusLineText(const SettingsResult& result) {
    switch (result.status) {
    case SettingsStatus::Ok:
    case SettingsStatus::NotFound:
        return {};
    case SettingsStatus::Corrupt:
        return "The Registry Database is corrupt!";
    case SettingsStatus::BadKey:
        return "Bad Key Name";
    case SettingsStatus::CantOpen:
        return "Can't Open Key";
    case SettingsStatus::CantRead:
        return "Can't Read Key";
    case SettingsStatus::AccessDenied:
        return "Access to this key is denied";
    case SettingsStatus::CantWrite:
        return "Can't Write Key";
    case SettingsStatus::OutOfMemory:
        return "Out of memory";
    case SettingsStatus::InvalidParameter:
        return "Invalid Parameter";
    case SettingsStatus::MoreData:
        return "There is more data than the buffer has been allocated to hold.";
    case SettingsStatus::Other:
        break;
    }
    return "Undefined Error Code:" + std::to_string(result.systemCode);
}

} // namespace cvl
