#include "platform/windows/system_clock.h"
#include "platform/clock_permission.h"
#include "platform/windows/system_error_text.h"

#include <windows.h>

namespace cvl {

namespace {

// Switched on once: the privilege is the process's for the rest of its life.
bool enableSystemTimePrivilege() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) {
        return false;
    }
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    const bool found =
        LookupPrivilegeValueA(nullptr, "SeSystemtimePrivilege", &privileges.Privileges[0].Luid);
    const bool adjusted = found &&
                          AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr) &&
                          GetLastError() == ERROR_SUCCESS;
    CloseHandle(token);
    return adjusted;
}

} // namespace

SystemClock::SystemClock(bool mayStep)
    : mayStep_(mayStep && environmentAllowsClockStep()) {}

LocalDateTime SystemClock::localNow() const {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

int SystemClock::localMilliseconds() const {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return now.wMilliseconds;
}

std::uint32_t SystemClock::tickCountMs() const {
    return GetTickCount();
}

ClockStep SystemClock::setSystemTimeUtc(const SystemTime& utc) {
    if (!mayStep_) {
        return {ClockStep::Outcome::NotAllowed, {}};
    }
    static const bool privileged = enableSystemTimePrivilege();
    (void)privileged; // without it the call below is refused, which is all a refusal means
    SYSTEMTIME fields{};
    fields.wYear = utc.year;
    fields.wMonth = utc.month;
    fields.wDayOfWeek = utc.dayOfWeek;
    fields.wDay = utc.day;
    fields.wHour = utc.hour;
    fields.wMinute = utc.minute;
    fields.wSecond = utc.second;
    fields.wMilliseconds = utc.milliseconds;
    if (SetSystemTime(&fields) != FALSE) {
        return {};
    }
    const DWORD code = GetLastError();
    if (code == ERROR_INVALID_PARAMETER) {
        return {ClockStep::Outcome::OutOfRange, {}};
    }
    std::string reason = systemErrorText(code);
    if (code == ERROR_PRIVILEGE_NOT_HELD || code == ERROR_ACCESS_DENIED) {
        reason += "; setting the clock needs a program run as an administrator";
    }
    return {ClockStep::Outcome::Refused, reason};
}

} // namespace cvl
