#include "platform/linux/epoll_event_loop.h"

#include <algorithm>
#include <array>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

namespace cvl {

namespace {

// epoll data of the loop's own descriptors; watch ids start above them.
constexpr std::uint64_t kTimerKey = 0;
constexpr std::uint64_t kWakeKey = ~std::uint64_t{0};

[[nodiscard]] std::uint32_t epollEvents(unsigned interest) {
    std::uint32_t events = 0;
    if ((interest & EventLoop::Readable) != 0) {
        events |= EPOLLIN;
    }
    if ((interest & EventLoop::Writable) != 0) {
        events |= EPOLLOUT;
    }
    return events;
}

bool addToSet(int epoll, int fd, std::uint64_t key, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = key;
    return ::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) == 0;
}

} // namespace

EpollEventLoop::EpollEventLoop(const MonotonicClock& clock)
    : epoll_(::epoll_create1(EPOLL_CLOEXEC))
    , timerFd_(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))
    , wakeFd_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    , timers_(clock) {
    if (isValid()) {
        addToSet(epoll_, timerFd_, kTimerKey, EPOLLIN);
        addToSet(epoll_, wakeFd_, kWakeKey, EPOLLIN);
    }
}

EpollEventLoop::~EpollEventLoop() {
    for (const int fd : {epoll_, timerFd_, wakeFd_}) {
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

EventLoop::WatchId EpollEventLoop::watch(NativeSocket socket, unsigned interest,
                                         std::function<void(unsigned ready)> onReady) {
    const auto fd = static_cast<int>(socket);
    const WatchId id = nextId_++;
    if (epoll_ < 0 || !addToSet(epoll_, fd, id, epollEvents(interest))) {
        return 0;
    }
    watches_.emplace(id, std::make_shared<Watch>(Watch{fd, interest, std::move(onReady)}));
    return id;
}

void EpollEventLoop::setInterest(WatchId id, unsigned interest) {
    const auto found = watches_.find(id);
    if (found == watches_.end() || found->second->interest == interest) {
        return;
    }
    found->second->interest = interest;
    epoll_event event{};
    event.events = epollEvents(interest);
    event.data.u64 = id;
    ::epoll_ctl(epoll_, EPOLL_CTL_MOD, found->second->fd, &event);
}

void EpollEventLoop::unwatch(WatchId id) {
    const auto found = watches_.find(id);
    if (found != watches_.end()) {
        ::epoll_ctl(epoll_, EPOLL_CTL_DEL, found->second->fd, nullptr);
        watches_.erase(found);
    }
}

EventLoop::TimerId EpollEventLoop::startTimer(std::chrono::milliseconds delay,
                                              std::chrono::milliseconds period,
                                              std::function<void()> onTimeout) {
    bool nearest = false;
    const TimerId id = timers_.start(delay, period, std::move(onTimeout), nearest);
    if (nearest) {
        armTimerFd();
    }
    return id;
}

void EpollEventLoop::stopTimer(TimerId id) {
    // Its deadline is skipped when it comes up.
    timers_.stop(id);
}

void EpollEventLoop::post(std::function<void()> task) {
    if (posted_.add(std::move(task))) {
        const std::uint64_t one = 1;
        (void)!::write(wakeFd_, &one, sizeof one);
    }
}

void EpollEventLoop::run() {
    quit_ = false;
    while (!quit_) {
        dispatch(-1);
    }
}

void EpollEventLoop::quit() {
    posted_.addQuit();
    post([] {});
}

void EpollEventLoop::dispatchReady() {
    quit_ = false; // run() is not running: there is nothing to stop
    dispatch(0);
}

void EpollEventLoop::dispatch(int timeoutMs) {
    std::array<epoll_event, 64> events{};
    const int count =
        ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), timeoutMs);
    // Nothing more runs once the loop is told to stop: a handler would only ask again, and the
    // request would stop the next run. What is left is still ready on the next pass.
    for (int i = 0; i < count && !quit_; ++i) {
        const epoll_event& event = events[static_cast<std::size_t>(i)];
        // Copied out: epoll_event is packed, so its members may not be bound to references.
        const std::uint64_t key = event.data.u64;
        const std::uint32_t what = event.events;
        if (key == kTimerKey) {
            runDueTimers();
            continue;
        }
        if (key == kWakeKey) {
            runPosted();
            continue;
        }
        // A watch removed by an earlier handler of this pass is simply not found.
        const auto found = watches_.find(key);
        if (found == watches_.end()) {
            continue;
        }
        const std::shared_ptr<Watch> watch = found->second;
        unsigned ready = 0;
        if ((what & (EPOLLIN | EPOLLPRI)) != 0) {
            ready |= Readable;
        }
        if ((what & EPOLLOUT) != 0) {
            ready |= Writable;
        }
        if ((what & (EPOLLERR | EPOLLHUP)) != 0) {
            ready |= watch->interest;
        }
        ready &= watch->interest;
        if (ready != 0) {
            watch->onReady(ready);
        }
    }
}

void EpollEventLoop::runDueTimers() {
    std::uint64_t expirations = 0;
    (void)!::read(timerFd_, &expirations, sizeof expirations);
    timers_.runDue();
    armTimerFd();
}

void EpollEventLoop::runPosted() {
    std::uint64_t count = 0;
    (void)!::read(wakeFd_, &count, sizeof count);
    if (posted_.runAll()) {
        quit_ = true;
    }
    // A clock moved ahead by a test is noticed here: the wait is measured afresh.
    armTimerFd();
}

void EpollEventLoop::armTimerFd() {
    itimerspec arming{};
    if (const auto deadline = timers_.nearest()) {
        // Measured on the loop's own clock, which need not be the system's.
        const auto wait = std::max<std::chrono::nanoseconds>(*deadline - timers_.now(),
                                                             std::chrono::nanoseconds(1));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
        arming.it_value.tv_sec = seconds.count();
        arming.it_value.tv_nsec = (wait - seconds).count();
        if (arming.it_value.tv_sec == 0 && arming.it_value.tv_nsec == 0) {
            arming.it_value.tv_nsec = 1; // zero would disarm it
        }
    }
    ::timerfd_settime(timerFd_, 0, &arming, nullptr);
}

std::unique_ptr<EventLoop> makeEventLoop(const MonotonicClock& clock) {
    auto loop = std::make_unique<EpollEventLoop>(clock);
    return loop->isValid() ? std::move(loop) : nullptr;
}

} // namespace cvl
