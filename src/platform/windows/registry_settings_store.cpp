// Included first: windows.h defines the root and result names as macros of the same values.
#include "platform/windows/registry_settings_store.h"

#include <windows.h>

namespace cvl {

namespace {

HKEY rootKey(RegistryRoot root) {
    // The predefined roots are sign-extended 32-bit values.
    return reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(root)));
}

// A key opened for one access, closed with its owner.
class OpenKey {
public:
    OpenKey(RegistryRoot root, const std::string& subKey, REGSAM access)
        : result_(RegOpenKeyExA(rootKey(root), subKey.c_str(), 0, access, &key_)) {}
    ~OpenKey() {
        if (result_ == ERROR_SUCCESS) {
            RegCloseKey(key_);
        }
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    [[nodiscard]] LONG result() const { return result_; }
    [[nodiscard]] HKEY key() const { return key_; }

private:
    HKEY key_ = nullptr;
    LONG result_;
};

} // namespace

long RegistrySettingsStore::openKey(RegistryRoot root, const std::string& subKey) const {
    return OpenKey(root, subKey, KEY_READ).result();
}

long RegistrySettingsStore::queryValue(RegistryRoot root, const std::string& subKey,
                                       const std::string& name, std::string& text) const {
    const OpenKey key(root, subKey, KEY_QUERY_VALUE);
    if (key.result() != ERROR_SUCCESS) {
        return key.result();
    }
    char buffer[kReadBufferBytes];
    DWORD size = sizeof buffer;
    DWORD type = 0;
    const LONG result = RegQueryValueExA(key.key(), name.c_str(), nullptr, &type,
                                         reinterpret_cast<BYTE*>(buffer), &size);
    if (result == ERROR_SUCCESS) {
        text.assign(buffer, size);
        // A string value ends with its terminator, or with none when someone wrote it so.
        while (!text.empty() && text.back() == '\0') {
            text.pop_back();
        }
    }
    return result;
}

long RegistrySettingsStore::setValue(RegistryRoot root, const std::string& subKey,
                                     const std::string& name, const std::string& text) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    const LONG created =
        RegCreateKeyExA(rootKey(root), subKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_SET_VALUE, nullptr, &key, &disposition);
    if (created != ERROR_SUCCESS) {
        return created;
    }
    const LONG result =
        RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>(text.size() + 1));
    RegCloseKey(key);
    return result;
}

long RegistrySettingsStore::deleteValue(RegistryRoot root, const std::string& subKey,
                                        const std::string& name) {
    const OpenKey key(root, subKey, KEY_SET_VALUE);
    return key.result() != ERROR_SUCCESS ? key.result() : RegDeleteValueA(key.key(), name.c_str());
}

std::vector<std::string> RegistrySettingsStore::valueNames(RegistryRoot root,
                                                           const std::string& subKey) const {
    std::vector<std::string> names;
    const OpenKey key(root, subKey, KEY_QUERY_VALUE);
    // Bounded: a key holds at most this many values for any use of ours.
    for (DWORD index = 0; key.result() == ERROR_SUCCESS && index < 4096; ++index) {
        char name[16384];
        DWORD length = sizeof name;
        if (RegEnumValueA(key.key(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        names.emplace_back(name, length);
    }
    return names;
}

} // namespace cvl
