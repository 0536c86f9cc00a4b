#include "platform/timer_queue.h"

#include <algorithm>
#include <utility>

namespace cvl {

EventLoop::TimerId TimerQueue::start(std::chrono::milliseconds delay,
                                     std::chrono::milliseconds period,
                                     std::function<void()> onTimeout, bool& becameNearest) {
    const EventLoop::TimerId id = nextId_++;
    const TimePoint deadline = clock_.now() + delay;
    timers_.emplace(id,
                    PendingTimer{deadline, period,
                                 std::make_shared<std::function<void()>>(std::move(onTimeout))});
    becameNearest = deadlines_.empty() || deadline < deadlines_.begin()->first;
    deadlines_.emplace(deadline, id);
    return id;
}

std::optional<TimerQueue::TimePoint> TimerQueue::nearest() {
    // Drop entries of timers that were stopped or moved, so the nearest is a live one.
    while (!deadlines_.empty()) {
        const auto [deadline, id] = *deadlines_.begin();
        const auto found = timers_.find(id);
        if (found != timers_.end() && found->second.deadline == deadline) {
            return deadline;
        }
        deadlines_.erase(deadlines_.begin());
    }
    return std::nullopt;
}

void TimerQueue::runDue() {
    const TimePoint now = clock_.now();
    std::vector<EventLoop::TimerId> due;
    while (!deadlines_.empty() && deadlines_.begin()->first <= now) {
        const auto [deadline, id] = *deadlines_.begin();
        deadlines_.erase(deadlines_.begin());
        const auto found = timers_.find(id);
        if (found != timers_.end() && found->second.deadline == deadline) {
            due.push_back(id);
        }
    }
    for (const EventLoop::TimerId id : due) {
        const auto found = timers_.find(id);
        if (found == timers_.end()) {
            continue; // stopped by an earlier handler
        }
        const std::shared_ptr<std::function<void()>> onTimeout = found->second.onTimeout;
        if (found->second.period.count() > 0) {
            found->second.deadline = std::max(found->second.deadline + found->second.period, now);
            deadlines_.emplace(found->second.deadline, id);
        } else {
            timers_.erase(found);
        }
        (*onTimeout)();
    }
}

bool PostedTasks::add(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    return tasks_.size() == 1;
}

void PostedTasks::addQuit() {
    const std::lock_guard lock(mutex_);
    quit_ = true;
}

bool PostedTasks::runAll() {
    std::vector<std::function<void()>> tasks;
    bool quit = false;
    {
        const std::lock_guard lock(mutex_);
        tasks.swap(tasks_);
        quit = std::exchange(quit_, false);
    }
    for (const std::function<void()>& task : tasks) {
        task();
    }
    return quit;
}

} // namespace cvl
