// One running copy per machine, whoever started it and whatever settings and data folder it
// was given: a time server steers the one clock of the machine and owns its time ports. The
// running copy also answers a second desktop start by showing its window.
#pragma once

#include "platform/event_loop.h"

#include <cstdint>
#include <functional>

namespace cvl {

class SingleInstance final {
public:
    explicit SingleInstance(EventLoop& loop);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    // Claims the machine's one copy; false when another live copy holds it.
    [[nodiscard]] bool acquire();
    // Another copy asks to be shown: `show` runs on the event loop and says whether a window
    // was brought forward.
    void setShowHandler(std::function<bool()> show) { show_ = std::move(show); }

    // Asks the running copy to show its window; true when it did. Waits a second at most.
    [[nodiscard]] static bool askRunningCopyToShow();

private:
    void answerRequests();

    EventLoop& loop_;
    std::intptr_t descriptor_ = -1; // a socket on Linux, a mutex on Windows
    SocketWatch watch_;
    std::function<bool()> show_;
    [[maybe_unused]] void* requests_ = nullptr; // Windows: the window that answers a second start
};

} // namespace cvl
