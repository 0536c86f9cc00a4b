// The reference-server file, as the update server or an editor may leave it: read as the
// controller reads its file (here from memory, which keeps the run fast), and the region's
// pool drawn from.
#include "fuzz_support.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"

#include <QBuffer>

using namespace cvl;

namespace {

struct State {};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QBuffer file(&bytes);
    fuzz::require(file.open(QIODevice::ReadOnly));
    const ServerList list = readServerFile(file);
    // Reading stops once the box has taken the line that would be host 301.
    fuzz::require(list.count() <= maxServerHosts + 1);
    if (list.entries.isEmpty()) {
        return 0;
    }
    SyncSchedule schedule;
    schedule.CalcRandR(list.entries, list.entries.first().text.right(2));
    fuzz::require(schedule.PoolCount >= 1 && schedule.PoolCount <= maxServerHosts);
    for (const double r : {0.0, 0.5, 0.9999999}) {
        const std::optional<int> position = schedule.GrabRandom(r);
        fuzz::require(position && *position >= 1 && *position <= list.count());
    }
    return 0;
}
