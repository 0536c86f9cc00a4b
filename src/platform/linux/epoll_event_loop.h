// The event loop on Linux: one epoll set holding the watched sockets, a timerfd armed for the
// nearest timer and an eventfd that posts wake. Its own descriptor becomes readable whenever a
// handler is due, so another loop (the toolkit's) can watch that one descriptor and call
// dispatchReady() instead of running this loop itself.
#pragma once

#include "platform/event_loop.h"
#include "platform/timer_queue.h"

#include <memory>
#include <unordered_map>

namespace cvl {

class EpollEventLoop final : public EventLoop {
public:
    explicit EpollEventLoop(const MonotonicClock& clock = systemMonotonicClock());
    ~EpollEventLoop() override;
    EpollEventLoop(const EpollEventLoop&) = delete;
    EpollEventLoop& operator=(const EpollEventLoop&) = delete;

    // False when the kernel gave none of the three descriptors (out of descriptors).
    [[nodiscard]] bool isValid() const { return epoll_ >= 0 && timerFd_ >= 0 && wakeFd_ >= 0; }
    // Readable whenever dispatchReady() has something to do.
    [[nodiscard]] int descriptor() const { return epoll_; }
    // Runs the handlers that are due now, without waiting.
    void dispatchReady();

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

private:
    struct Watch {
        int fd;
        unsigned interest;
        std::function<void(unsigned)> onReady;
    };
    void dispatch(int timeoutMs);
    void runDueTimers();
    void runPosted();
    void armTimerFd();

    int epoll_ = -1;
    int timerFd_ = -1;
    int wakeFd_ = -1;
    // Shared so that a handler that unwatches itself does not destroy the function it runs.
    std::unordered_map<WatchId, std::shared_ptr<Watch>> watches_;
    TimerQueue timers_;
    PostedTasks posted_;
    std::uint64_t nextId_ = 1;
    bool quit_ = false;
};

} // namespace cvl
