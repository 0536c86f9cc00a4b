// The timers of an event loop, in deadline order on monotonic time: what each platform's loop
// keeps the same way, whatever wakes it when the nearest one is due (a timerfd on Linux, a
// window timer on Windows). Tasks posted from other threads wait in a queue of their own.
#pragma once

#include "platform/event_loop.h"
#include "platform/monotonic_clock.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace cvl {

class TimerQueue {
public:
    using TimePoint = MonotonicClock::TimePoint;

    explicit TimerQueue(const MonotonicClock& clock)
        : clock_(clock) {}
    [[nodiscard]] TimePoint now() const { return clock_.now(); }

    // True in `becameNearest` when the loop's wake-up must be moved earlier.
    [[nodiscard]] EventLoop::TimerId start(std::chrono::milliseconds delay,
                                           std::chrono::milliseconds period,
                                           std::function<void()> onTimeout, bool& becameNearest);
    void stop(EventLoop::TimerId id) { timers_.erase(id); }
    // The deadline of the nearest live timer, if any.
    [[nodiscard]] std::optional<TimePoint> nearest();
    // Runs what is due now: a timer restarted by its own handler waits for the next call.
    void runDue();

private:
    struct PendingTimer {
        TimePoint deadline;
        std::chrono::milliseconds period;
        std::shared_ptr<std::function<void()>> onTimeout;
    };

    const MonotonicClock& clock_;
    std::unordered_map<EventLoop::TimerId, PendingTimer> timers_;
    // Deadline order; an entry whose timer has gone or moved is skipped when it comes up.
    std::multimap<TimePoint, EventLoop::TimerId> deadlines_;
    EventLoop::TimerId nextId_ = 1;
};

// Tasks handed to the loop from any thread, and its request to stop.
class PostedTasks {
public:
    // True when the queue was empty, so the loop needs waking.
    bool add(std::function<void()> task);
    void addQuit();
    // Runs what was posted so far; true when a quit was among it.
    bool runAll();

private:
    std::mutex mutex_;
    std::vector<std::function<void()>> tasks_;
    bool quit_ = false;
};

} // namespace cvl
