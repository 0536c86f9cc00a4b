// The event loop on Windows: the thread's message loop. A message-only window receives the
// sockets' events (WSAAsyncSelect), the timer of the nearest deadline (WM_TIMER) and the wake
// for posted tasks; the desktop's windows share the same loop. Winsock tells of an event once
// until the call that takes it is made again, so each event is turned into a check of the
// socket's readiness, and the check is repeated while the socket stays ready: the handlers see
// the same level-triggered readiness as on Linux.
#pragma once

#include "platform/event_loop.h"
#include "platform/timer_queue.h"

#include "socket_system.h"

#include <memory>
#include <unordered_map>

namespace cvl {

class MessageLoop final : public EventLoop {
public:
    explicit MessageLoop(const MonotonicClock& clock = systemMonotonicClock());
    ~MessageLoop() override;
    MessageLoop(const MessageLoop&) = delete;
    MessageLoop& operator=(const MessageLoop&) = delete;

    // False when the window could not be made.
    [[nodiscard]] bool isValid() const { return window_ != nullptr; }

    [[nodiscard]] WatchId watch(NativeSocket socket, unsigned interest,
                                std::function<void(unsigned ready)> onReady) override;
    void setInterest(WatchId id, unsigned interest) override;
    void unwatch(WatchId id) override;
    [[nodiscard]] TimerId startTimer(std::chrono::milliseconds delay,
                                     std::chrono::milliseconds period,
                                     std::function<void()> onTimeout) override;
    void stopTimer(TimerId id) override;
    [[nodiscard]] MonotonicClock::TimePoint now() const override { return timers_.now(); }
    void post(std::function<void()> task) override;
    void run() override;
    void quit() override;

    // Sees each message first; true when it took the message (the windows' Tab and access
    // keys, through IsDialogMessage).
    void setKeyboardFilter(std::function<bool(MSG&)> filter) {
        keyboardFilter_ = std::move(filter);
    }

    // A message of the loop's window.
    LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);

private:
    struct Watch {
        NativeSocket socket;
        unsigned interest;
        std::function<void(unsigned)> onReady;
        bool checkPosted = false;
    };

    void postCheck(WatchId id);
    void check(WatchId id);
    void runDueTimers();
    void armTimer();

    HWND window_ = nullptr;
    // Shared so that a handler that unwatches itself does not destroy the function it runs.
    std::unordered_map<WatchId, std::shared_ptr<Watch>> watches_;
    std::unordered_map<NativeSocket, WatchId> bySocket_;
    TimerQueue timers_;
    PostedTasks posted_;
    WatchId nextId_ = 1;
    bool quit_ = false;
    std::function<bool(MSG&)> keyboardFilter_;
};

} // namespace cvl
