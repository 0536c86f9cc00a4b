// The reference-server file, as the update server or an editor may leave it: read as the
// controller reads its file (here from memory, which keeps the run fast), and the region's
// pool drawn from.
#include "fuzz_support.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"

#include "text/utf8.h"

#include <sstream>

using namespace cvl;

namespace {

struct State {};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream file(std::string(reinterpret_cast<const char*>(data), size));
    const ServerList list = readServerFile(file);
    // Reading stops once the box has taken the line that would be host 301.
    fuzz::require(list.count() <= maxServerHosts + 1);
    if (list.entries.empty()) {
        return 0;
    }
    for (const ServerEntry& entry : list.entries) {
        fuzz::require(utf8::isValid(entry.text));
    }
    SyncSchedule schedule;
    schedule.drawPool(list.entries, utf8::lastCharacters(list.entries.front().text, 2));
    fuzz::require(schedule.poolCount >= 1 && schedule.poolCount <= maxServerHosts);
    for (const double r : {0.0, 0.5, 0.9999999}) {
        const std::optional<int> position = schedule.pick(r);
        fuzz::require(position && *position >= 1 && *position <= list.count());
    }
    return 0;
}
