#include "app/headless_status.h"

#include "text/utf8.h"

#include <utility>

namespace cvl {

HeadlessStatus::HeadlessStatus(StatusModel& status, std::function<void(const std::string&)> write)
    : status_(status)
    , write_(std::move(write)) {
    status_.addObserver(*this);
}

HeadlessStatus::~HeadlessStatus() {
    status_.removeObserver(*this);
}

void HeadlessStatus::statusChanged(StatusChange change) {
    switch (change) {
    case StatusChange::Tip:
        showTip();
        return;
    case StatusChange::StatusLine:
        show(lastStatus_, status_.statusLine());
        return;
    case StatusChange::Unanswered:
        show(lastUnanswered_, status_.sync().unansweredText);
        return;
    default:
        return;
    }
}

void HeadlessStatus::showTip() {
    // The tip as shown, without the blanks around it.
    const std::string line(utf8::trimmed(status_.tip()));
    // While no query can leave, a server is tried every second: the line about that stands
    // for all of them.
    if (status_.sync().queriesFailing && line.starts_with("Checking Time Server")) {
        return;
    }
    // The 64-character field can cut the synchronisation result short; a line has room for
    // all of it.
    const std::string& result = status_.syncMessage();
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
