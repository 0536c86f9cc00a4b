// The program as the Windows service: no window and no console; the control manager's stop
// (or the system's shutdown) ends the loop, and the server then stops in order as always.
#pragma once

#include "core/front_end.h"
#include "platform/event_loop.h"
#include "platform/stderr_prompter.h"
#include "platform/windows/service_control.h"

namespace cvl {

class ServiceFrontEnd final : public FrontEnd {
public:
    explicit ServiceFrontEnd(ServiceSession& session)
        : session_(session) {}

    Prompter& prompter() override { return prompter_; } // nobody to ask: every answer is No
    void build(ServerController&) override {}
    void startUp(bool) override {}
    int run(EventLoop& loop) override {
        session_.setStopHandler([&loop] { loop.post([&loop] { loop.quit(); }); });
        loop.run();
        session_.setStopHandler({}); // a late request finds nothing to stop
        return 0;
    }
    void quit(EventLoop& loop) override { loop.quit(); }
    void release() override {}

private:
    ServiceSession& session_;
    StderrPrompter prompter_;
};

} // namespace cvl
