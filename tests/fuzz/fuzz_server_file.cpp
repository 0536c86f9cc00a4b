// The reference-server file, as the update server or an editor may leave it: written to a
// temporary file, read as the controller reads it, and the region's pool drawn from.
#include "fuzz_support.h"
#include "sync/server_list.h"
#include "sync/sync_schedule.h"

#include <QFile>
#include <QTemporaryDir>

using namespace cvl;

namespace {

struct State {
    State(int* argc, char*** argv)
        : app(*argc, *argv)
        , path(folder.filePath(QStringLiteral("QBK_CVLS4.CVL"))) {}

    QCoreApplication app;
    QTemporaryDir folder;
    QString path;
};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A new file each time: rewriting one in place makes some file systems write it out.
    QFile::remove(state->path);
    QFile file(state->path);
    fuzz::require(file.open(QIODevice::WriteOnly));
    fuzz::require(file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size)) ==
                  static_cast<qint64>(size));
    file.close();

    const std::optional<ServerList> list = readServerFile(state->path);
    fuzz::require(list.has_value());
    // Reading stops once the box has taken the line that would be host 301.
    fuzz::require(list->count() <= maxServerHosts + 1);
    if (list->entries.isEmpty()) {
        return 0;
    }
    SyncSchedule schedule;
    schedule.CalcRandR(list->entries, list->entries.first().text.right(2));
    fuzz::require(schedule.PoolCount >= 1 && schedule.PoolCount <= maxServerHosts);
    for (const double r : {0.0, 0.5, 0.9999999}) {
        const std::optional<int> position = schedule.GrabRandom(r);
        fuzz::require(position && *position >= 1 && *position <= list->count());
    }
    return 0;
}
