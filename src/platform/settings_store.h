// Where the program's own settings live: named text values in one place (an INI file on Linux,
// a registry key on Windows). Each system's store says in its own terms where that place is
// and, when an access fails, what went wrong, in the program's words and in its own.
#pragma once

#include <string>
#include <utility>

namespace cvl {

enum class SettingsStatus {
    Ok,
    NotFound, // no such value, or no settings at all yet: no failure
    AccessDenied,
    OutOfMemory,
    InvalidParameter,
    MoreData, // longer than a read takes
    Corrupt,
    BadKey,
    CantOpen,
    CantRead,
    CantWrite,
    Other, // a failure of the system's own, known by its code alone
};

struct SettingsResult {
    SettingsResult() = default;
    explicit SettingsResult(SettingsStatus kind, long code = 0, std::string words = {})
        : status(kind)
        , systemCode(code)
        , systemText(std::move(words)) {}

    SettingsStatus status = SettingsStatus::Ok;
    // The system's own code (errno, a Win32 result), kept so that a failure the program has
    // no name for still shows its number; 0 when there is none.
    long systemCode = 0;
    // The system's own words for the failure; empty when there are none.
    std::string systemText;

    [[nodiscard]] bool ok() const { return status == SettingsStatus::Ok; }
};

class SettingsStore {
public:
    virtual ~SettingsStore();

    // Where the settings live, as an operator would look for them.
    [[nodiscard]] virtual std::string location() const = 0;
    // Ok when any setting has been saved, NotFound before the first.
    [[nodiscard]] virtual SettingsResult keyExists() const = 0;
    // The value's text; `text` is empty unless the result is Ok.
    [[nodiscard]] virtual SettingsResult read(const std::string& name, std::string& text) const = 0;
    virtual SettingsResult write(const std::string& name, const std::string& text) = 0;
};

} // namespace cvl
