#include "platform/linux/system_clock.h"
#include "platform/clock_permission.h"

#include <cerrno>
#include <cstring>
#include <ctime>

namespace cvl {

SystemClock::SystemClock(bool mayStep)
    : mayStep_(mayStep && environmentAllowsClockStep()) {}

LocalDateTime SystemClock::localNow() const {
    // Not time(): it reads the coarse clock, which lags the one localMilliseconds() reads by
    // up to a kernel tick, so a stamp taken early in a second would come out a second behind.
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    const std::time_t now = ts.tv_sec;
    if (now != brokenDownAt_) {
        std::tm local{};
        localtime_r(&now, &local);
        brokenDown_ = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                       local.tm_hour,        local.tm_min,     local.tm_sec};
        brokenDownAt_ = now;
    }
    return brokenDown_;
}

int SystemClock::localMilliseconds() const {
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    return static_cast<int>(ts.tv_nsec / 1000000);
}

std::uint32_t SystemClock::tickCountMs() const {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    const auto ms = static_cast<std::uint64_t>(ts.tv_sec) * 1000u +
                    static_cast<std::uint64_t>(ts.tv_nsec) / 1000000u;
    return static_cast<std::uint32_t>(ms);
}

ClockStep SystemClock::setSystemTimeUtc(const SystemTime& utc) {
    if (!mayStep_) {
        return {ClockStep::Outcome::NotAllowed, {}};
    }
    // Refuse what the field ranges do not allow rather than let timegm() normalise it.
    if (utc.year < 1970 || utc.month < 1 || utc.month > 12 || utc.day < 1 || utc.day > 31 ||
        utc.hour > 23 || utc.minute > 59 || utc.second > 59 || utc.milliseconds > 999) {
        return {ClockStep::Outcome::OutOfRange, {}};
    }
    std::tm fields{};
    fields.tm_year = utc.year - 1900;
    fields.tm_mon = utc.month - 1;
    fields.tm_mday = utc.day;
    fields.tm_hour = utc.hour;
    fields.tm_min = utc.minute;
    fields.tm_sec = utc.second;
    const std::time_t seconds = timegm(&fields);
    if (seconds == static_cast<std::time_t>(-1) || fields.tm_mday != utc.day) {
        return {ClockStep::Outcome::OutOfRange, {}}; // 31 February and the like
    }
    const timespec target{seconds, static_cast<long>(utc.milliseconds) * 1000000L};
    if (clock_settime(CLOCK_REALTIME, &target) == 0) {
        return {};
    }
    const int code = errno;
    std::string reason = std::strerror(code);
    if (code == EPERM) {
        reason += "; setting the clock needs root or the CAP_SYS_TIME capability";
    }
    return {ClockStep::Outcome::Refused, reason};
}

} // namespace cvl
