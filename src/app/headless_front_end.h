// The program without a window: the status line and the synchronisation result go to
// standard error (the console on Windows), and every question is answered No.
#pragma once

#include "app/headless_status.h"
#include "core/front_end.h"
#include "core/server_controller.h"
#include "platform/event_loop.h"
#include "platform/stderr_prompter.h"

#include <memory>

namespace cvl {

class HeadlessFrontEnd final : public FrontEnd {
public:
    // alsoReport: a second place for the warnings and errors (Windows: the Event Log).
    explicit HeadlessFrontEnd(Diagnostics::Sink alsoReport = {})
        : alsoReport_(std::move(alsoReport)) {}

    Prompter& prompter() override { return prompter_; }
    void report(Severity severity, const std::string& text) override {
        FrontEnd::report(severity, text);
        if (alsoReport_ && severity != Severity::Information) {
            alsoReport_(severity, text);
        }
    }
    void build(ServerController& server) override {
        status_ = std::make_unique<HeadlessStatus>(
            server.status(), [](const std::string& line) { writeStderrLine(line); });
    }
    void startUp(bool) override {}
    int run(EventLoop& loop) override {
        loop.run();
        return 0;
    }
    void quit(EventLoop& loop) override { loop.quit(); }
    void release() override { status_.reset(); }

private:
    Diagnostics::Sink alsoReport_;
    StderrPrompter prompter_;
    std::unique_ptr<HeadlessStatus> status_;
};

} // namespace cvl
