#include "sync/sync_schedule.h"

#include "text/leading_number.h"
#include "text/utf8.h"

#include <cmath>
#include <limits>

namespace cvl {

bool SyncSchedule::setInterval(std::string_view syncNText, std::string_view unitText) {
    const std::optional<std::int32_t> every = roundToInt32(leadingNumber(syncNText));
    if (!every) {
        return false;
    }
    syncEvery = *every;
    const std::string_view unit = unitText.substr(0, 3);
    std::int64_t secondsPerUnit = 86400;
    if (unit == "Sec") {
        secondsPerUnit = 1;
    } else if (unit == "Min") {
        secondsPerUnit = 60;
    } else if (unit == "Hou") {
        secondsPerUnit = 3600;
    }
    const std::int64_t seconds = std::int64_t{syncEvery} * secondsPerUnit;
    if (seconds < std::numeric_limits<std::int32_t>::min() ||
        seconds > std::numeric_limits<std::int32_t>::max()) {
        return false;
    }
    syncSeconds = static_cast<std::int32_t>(seconds);
    return secondsPerUnit == 1;
}

bool SyncSchedule::tick() {
    // A counter set to the largest interval by retryOnNextTick() must not wrap.
    if (syncCounter < std::numeric_limits<std::int32_t>::max()) {
        ++syncCounter;
    }
    if (syncCounter < syncSeconds) {
        return false;
    }
    syncCounter = 0;
    return true;
}

void SyncSchedule::retrySoon() {
    syncCounter =
        syncSeconds > std::numeric_limits<std::int32_t>::min() ? syncSeconds - 1 : syncSeconds;
}

void SyncSchedule::drawPool(const std::vector<ServerEntry>& entries, std::string_view RegionCode) {
    poolCount = 0;
    for (std::size_t i = 0; i < entries.size() && poolCount < maxServerHosts; ++i) {
        if (utf8::lastCharacters(entries[i].text, 2) == RegionCode) {
            randomPool[poolCount++] = static_cast<int>(i + 1);
        }
    }
}

std::optional<int> SyncSchedule::pick(double r) const {
    if (poolCount < 1 || poolCount > maxServerHosts) {
        return std::nullopt;
    }
    // Rounding r x (n - 1) + 1 gives the ends half the share of the inner members; kept so
    // that servers are asked as often as they always were.
    const double pick = std::nearbyint(r * (poolCount - 1) + 1);
    if (!(pick >= 1 && pick <= poolCount)) {
        return std::nullopt;
    }
    return randomPool[static_cast<std::size_t>(pick) - 1];
}

std::string SyncSchedule::keepNumeric(std::string_view syncNText) {
    if (syncNText.empty() || isNumericText(syncNText)) {
        return std::string(syncNText);
    }
    return std::string(utf8::withoutLastCharacter(syncNText));
}

} // namespace cvl
