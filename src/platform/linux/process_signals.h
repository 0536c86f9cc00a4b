// SIGINT and SIGTERM (stop in order) and SIGUSR1 (synchronise now) delivered to the event
// loop, so that what they ask for runs on the main thread instead of inside a signal handler.
#pragma once

#include "platform/event_loop.h"

#include <functional>

namespace cvl {

class ProcessSignals final {
public:
    ProcessSignals(EventLoop& loop, std::function<void(int signalNumber)> onTermination,
                   std::function<void()> onSyncRequest);
    ~ProcessSignals();
    ProcessSignals(const ProcessSignals&) = delete;
    ProcessSignals& operator=(const ProcessSignals&) = delete;

private:
    void drain();

    std::function<void(int)> onTermination_;
    std::function<void()> onSyncRequest_;
    SocketWatch watch_;
};

} // namespace cvl
