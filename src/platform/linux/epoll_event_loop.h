// The event loop on Linux: one epoll set holding the watched sockets, a timerfd armed for the
// nearest timer and an eventfd that posts wake. Its own descriptor becomes readable whenever a
// handler is due, so another loop (the toolkit's) can watch that one descriptor and call
// dispatchReady() instead of running this loop itself.
#pragma once

#include "platform/event_loop.h"

#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace cvl {

class EpollEventLoop final : public EventLoop {
public:
    EpollEventLoop();
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
    void post(std::function<void()> task) override;
    void run() override;
    void quit() override;

private:
    using Clock = std::chrono::steady_clock;
    struct Watch {
        int fd;
        unsigned interest;
        std::function<void(unsigned)> onReady;
    };
    struct PendingTimer {
        Clock::time_point deadline;
        std::chrono::milliseconds period;
        std::shared_ptr<std::function<void()>> onTimeout;
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
    std::unordered_map<TimerId, PendingTimer> timers_;
    // Deadline order; an entry whose timer has gone or moved is skipped when it comes up.
    std::multimap<Clock::time_point, TimerId> deadlines_;
    std::uint64_t nextId_ = 1;
    bool quit_ = false;

    std::mutex postedMutex_;
    std::vector<std::function<void()>> posted_;
    bool quitPosted_ = false;
};

} // namespace cvl
