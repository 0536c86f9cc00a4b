// The program as the Windows service: no window and no console. Its failures, its start, its
// first synchronisation and its stop go to the Event Log; the control manager's stop (or the
// system's shutdown) ends the loop, and the server then stops in order as always.
#pragma once

#include "core/front_end.h"
#include "core/server_controller.h"
#include "core/status_model.h"
#include "platform/event_loop.h"
#include "platform/stderr_prompter.h"
#include "platform/windows/event_log.h"
#include "platform/windows/service_control.h"

namespace cvl {

[[nodiscard]] inline EventKind eventKind(Severity severity) {
    return severity == Severity::Error     ? EventKind::Error
           : severity == Severity::Warning ? EventKind::Warning
                                           : EventKind::Information;
}

class ServiceFrontEnd final : public FrontEnd, private StatusObserver {
public:
    explicit ServiceFrontEnd(ServiceSession& session)
        : session_(session) {}
    ~ServiceFrontEnd() override { release(); }

    Prompter& prompter() override { return prompter_; } // nobody to ask: every answer is No
    void report(Severity severity, const std::string& text) override {
        events_.write(eventKind(severity), text);
    }
    void build(ServerController& server) override {
        status_ = &server.status();
        status_->addObserver(*this);
    }
    void startUp(bool) override {}
    // The listeners are open.
    void running() {
        session_.reportRunning();
        events_.write(EventKind::Information,
                      fixedTitle() + " started as the service " + kServiceName + ".");
    }
    int run(EventLoop& loop) override {
        session_.setStopHandler([&loop] { loop.post([&loop] { loop.quit(); }); });
        loop.run();
        session_.setStopHandler({}); // a late request finds nothing to stop
        return 0;
    }
    void quit(EventLoop& loop) override { loop.quit(); }
    // After the server's orderly stop.
    void release() override {
        if (status_ == nullptr) {
            return;
        }
        status_->removeObserver(*this);
        status_ = nullptr;
        events_.write(EventKind::Information,
                      fixedTitle() + " stopped; its settings are written back.");
    }

private:
    void statusChanged(StatusChange change) override {
        if (change == StatusChange::Synchronised && !synchronised_ && status_->synchronised()) {
            synchronised_ = true;
            events_.write(EventKind::Information,
                          "First synchronisation: " + status_->syncMessage());
        }
    }

    ServiceSession& session_;
    StderrPrompter prompter_;
    EventLog events_;
    StatusModel* status_ = nullptr;
    bool synchronised_ = false;
};

} // namespace cvl
