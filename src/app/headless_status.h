// What the window and the tray icon would show, as lines on standard error for the daemon:
// the tray tip, the status line and the note about an unanswered query. Each kind of line is
// written only when its text changes, so a reference that never answers says so once.
#pragma once

#include "core/server_observer.h"

#include <functional>
#include <string>

namespace cvl {

class CVL_Server;

class HeadlessStatus final : private ServerObserver {
public:
    // `write` takes one line without its line end.
    HeadlessStatus(CVL_Server& server, std::function<void(const std::string&)> write);
    ~HeadlessStatus() override;
    HeadlessStatus(const HeadlessStatus&) = delete;
    HeadlessStatus& operator=(const HeadlessStatus&) = delete;

private:
    void tipTextChanged(const std::string& visibleTip) override;
    void statusTextChanged(const std::string& text) override { show(lastStatus_, text); }
    void unansweredChanged(const std::string& text) override { show(lastUnanswered_, text); }
    void show(std::string& last, const std::string& text);

    CVL_Server& server_;
    std::function<void(const std::string&)> write_;
    std::string lastTip_;
    std::string lastStatus_;
    std::string lastUnanswered_;
};

} // namespace cvl
