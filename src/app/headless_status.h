// What the window and the tray icon would show, as lines on standard error for the daemon:
// the tray tip, the status line and the note about an unanswered query. Each kind of line is
// written only when its text changes, so a reference that never answers says so once.
#pragma once

#include "core/status_model.h"

#include <functional>
#include <string>

namespace cvl {

class HeadlessStatus final : private StatusObserver {
public:
    // `write` takes one line without its line end.
    HeadlessStatus(StatusModel& status, std::function<void(const std::string&)> write);
    ~HeadlessStatus() override;
    HeadlessStatus(const HeadlessStatus&) = delete;
    HeadlessStatus& operator=(const HeadlessStatus&) = delete;

private:
    void statusChanged(StatusChange change) override;
    void showTip();
    void show(std::string& last, const std::string& text);

    StatusModel& status_;
    std::function<void(const std::string&)> write_;
    std::string lastTip_;
    std::string lastStatus_;
    std::string lastUnanswered_;
};

} // namespace cvl
