#include "app/headless_status.h"

#include "core/cvl_server.h"
#include "sync/time_query.h"
#include "text/utf8.h"

#include <utility>

namespace cvl {

HeadlessStatus::HeadlessStatus(CVL_Server& server, std::function<void(const std::string&)> write)
    : server_(server)
    , write_(std::move(write)) {
    server_.addObserver(*this);
}

HeadlessStatus::~HeadlessStatus() {
    server_.removeObserver(*this);
}

void HeadlessStatus::tipTextChanged(const std::string& visibleTip) {
    // The 64-character field can cut the synchronisation result short; a line has room for
    // all of it.
    // The tip as shown, without the blanks around it.
    const std::string line(utf8::trimmed(visibleTip));
    // While no query can leave, a server is tried every second: the line about that stands
    // for all of them.
    if (server_.queriesFailing() && line.starts_with("Checking Time Server")) {
        return;
    }
    const std::string& result = server_.timeQuery().SyncMessage();
    show(lastTip_, !line.empty() && result.starts_with(line) ? result : line);
}

void HeadlessStatus::show(std::string& last, const std::string& text) {
    // An empty text only takes the old one back; it is not worth a line of its own, but the
    // same text coming again afterwards is news.
    if (text == last) {
        return;
    }
    last = text;
    if (!text.empty()) {
        write_(text);
    }
}

} // namespace cvl
