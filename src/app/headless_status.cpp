#include "app/headless_status.h"

#include "core/cvl_server.h"
#include "sync/clock_adjustment.h"
#include "sync/time_query.h"

#include <utility>

namespace cvl {

HeadlessStatus::HeadlessStatus(CVL_Server& server, std::function<void(const QString&)> write)
    : QObject(&server)
    , write_(std::move(write)) {
    connect(&server, &CVL_Server::tipTextChanged, this, [this, &server](const QString& tip) {
        // The 64-character field can cut the synchronisation result short; a line has room
        // for all of it.
        const QString line = tipLine(tip);
        // While no query can leave, a server is tried every second: the line about that
        // stands for all of them.
        if (server.queriesFailing() && line.startsWith(QLatin1String("Checking Time Server"))) {
            return;
        }
        const QString result = QString::fromStdString(server.timeQuery().SyncMessage());
        show(lastTip_, !line.isEmpty() && result.startsWith(line) ? result : line);
    });
    connect(&server, &CVL_Server::statusTextChanged, this,
            [this](const QString& text) { show(lastStatus_, text); });
    connect(&server, &CVL_Server::unansweredChanged, this,
            [this](const QString& text) { show(lastUnanswered_, text); });
}

QString HeadlessStatus::tipLine(const QString& tipField) {
    return QString::fromStdString(std::string(visibleTip(tipField.toStdString()))).trimmed();
}

void HeadlessStatus::show(QString& last, const QString& text) {
    // An empty text only takes the old one back; it is not worth a line of its own, but the
    // same text coming again afterwards is news.
    if (text == last) {
        return;
    }
    last = text;
    if (!text.isEmpty()) {
        write_(text);
    }
}

} // namespace cvl
