// A key of the local machine's registry, opened (or made) for one access and closed with its
// owner: what the settings store and the Run key entry both go through. Results are the
// registry calls' own Win32 codes.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace cvl {

class RegistryKey {
public:
    enum class Mode { Open, Create };

    RegistryKey(const std::string& subKey, REGSAM access, Mode mode = Mode::Open)
        : result_(mode == Mode::Open
                      ? RegOpenKeyExA(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, access, &key_)
                      : RegCreateKeyExA(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, nullptr,
                                        REG_OPTION_NON_VOLATILE, access, nullptr, &key_, nullptr)) {
    }
    ~RegistryKey() {
        if (result_ == ERROR_SUCCESS) {
            RegCloseKey(key_);
        }
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    // ERROR_SUCCESS when the key is open.
    [[nodiscard]] LONG result() const { return result_; }

    // A value of at most `most` bytes; a longer one is ERROR_MORE_DATA and leaves `text` empty.
    [[nodiscard]] LONG readText(const std::string& name, std::string& text, DWORD most) const {
        text.clear();
        if (result_ != ERROR_SUCCESS) {
            return result_;
        }
        std::string buffer(most, '\0');
        DWORD size = most;
        const LONG read = RegQueryValueExA(key_, name.c_str(), nullptr, nullptr,
                                           reinterpret_cast<BYTE*>(buffer.data()), &size);
        if (read == ERROR_SUCCESS) {
            text.assign(buffer.data(), size);
            // A string value ends with its terminator, or with none when someone wrote it so.
            while (!text.empty() && text.back() == '\0') {
                text.pop_back();
            }
        }
        return read;
    }

    LONG writeText(const std::string& name, const std::string& text) {
        return result_ != ERROR_SUCCESS
                   ? result_
                   : RegSetValueExA(key_, name.c_str(), 0, REG_SZ,
                                    reinterpret_cast<const BYTE*>(text.c_str()),
                                    static_cast<DWORD>(text.size() + 1));
    }

    LONG deleteValue(const std::string& name) {
        return result_ != ERROR_SUCCESS ? result_ : RegDeleteValueA(key_, name.c_str());
    }

    // The names of the key's values, in the registry's order (empty when it cannot be read).
    [[nodiscard]] std::vector<std::string> valueNames() const {
        std::vector<std::string> names;
        // Bounded: a key holds at most this many values for any use of ours.
        for (DWORD index = 0; result_ == ERROR_SUCCESS && index < 4096; ++index) {
            char name[16384];
            DWORD length = sizeof name;
            if (RegEnumValueA(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
                ERROR_SUCCESS) {
                break;
            }
            names.emplace_back(name, length);
        }
        return names;
    }

private:
    HKEY key_ = nullptr;
    LONG result_;
};

} // namespace cvl
