// When to synchronise with a reference server and which one to ask: the interval in seconds,
// the second counter the one-second timer drives, and the pool of servers of the chosen region.
#pragma once

#include "sync/server_list.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cvl {

class SyncSchedule {
public:
    // Turns the interval box and the unit box into seconds. Units go by their first three
    // letters: "Sec", "Min", "Hou"; anything else counts days. syncEvery takes the rounded
    // number even when the seconds do not fit 32 bits; syncSeconds is then left as it was and
    // the result is false (a number beyond 32 bits changes neither). True only for seconds,
    // when the caller restarts its one-second timer.
    bool setInterval(std::string_view syncNText, std::string_view unitText);

    // One second has passed. True when it is time to synchronise, and the count starts again;
    // an interval of 0 or less asks at every tick.
    [[nodiscard]] bool tick();

    // After a failed attempt. Either way the next tick asks again: the counter reaches the
    // interval from one below it as well as from the interval itself.
    void retryOnNextTick() { syncCounter = syncSeconds; }
    void retrySoon();

    // Fills the pool with the 1-based box positions whose text ends in the region code, in box
    // order, at most 300 of them.
    void drawPool(const std::vector<ServerEntry>& entries, std::string_view RegionCode);

    // The box position of a server from the pool for r drawn from [0, 1). The first and the
    // last pool member come up half as often as the others. nullopt with an empty pool.
    [[nodiscard]] std::optional<int> pick(double r) const;

    // The interval box as it is typed into: a text that is not a number loses its last
    // character at each change.
    [[nodiscard]] static std::string keepNumeric(std::string_view syncNText);

    std::int32_t syncEvery = 0;
    std::int32_t syncSeconds = 0;
    std::int32_t syncCounter = 0;
    std::array<int, maxServerHosts> randomPool{};
    int poolCount = 0;
};

} // namespace cvl
