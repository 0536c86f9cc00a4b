// The program's one event loop: socket readiness, timers on monotonic time and tasks posted
// from other threads, every handler run to completion on the loop's own thread. The server
// reaches it through this interface; each platform brings its own (epoll on Linux, the
// message loop on Windows), and a toolkit's loop can dispatch it without polling.
#pragma once

#include "platform/monotonic_clock.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace cvl {

// A socket as the operating system names it: a descriptor on Linux, a SOCKET on Windows.
using NativeSocket = std::intptr_t;

class EventLoop {
public:
    // What a watch waits for, and what a handler is told is ready. An error or a hang-up is
    // reported as whatever the watch waits for, so that the next read or write sees it.
    enum Readiness : unsigned { Readable = 1u, Writable = 2u };
    // Ids are never reused, so a stale one is harmless.
    using WatchId = std::uint64_t;
    using TimerId = std::uint64_t;

    virtual ~EventLoop() = default;

    // Level-triggered: `onReady` runs on every pass while the socket is ready for something
    // in `interest`, so a handler may take part of what waits and leave the rest. The socket
    // must stay open until it is unwatched. 0 when the socket cannot be watched.
    [[nodiscard]] virtual WatchId watch(NativeSocket socket, unsigned interest,
                                        std::function<void(unsigned ready)> onReady) = 0;
    // 0 pauses the watch without forgetting it.
    virtual void setInterest(WatchId id, unsigned interest) = 0;
    virtual void unwatch(WatchId id) = 0;

    // Runs `onTimeout` once after `delay`, then every `period` unless that is zero. A timer
    // that falls behind fires once, not once for every period missed.
    [[nodiscard]] virtual TimerId startTimer(std::chrono::milliseconds delay,
                                             std::chrono::milliseconds period,
                                             std::function<void()> onTimeout) = 0;
    virtual void stopTimer(TimerId id) = 0;

    // The monotonic time its timers run on.
    [[nodiscard]] virtual MonotonicClock::TimePoint now() const = 0;

    // Safe from any thread: `task` runs on the loop's thread, soon, in the order posted.
    virtual void post(std::function<void()> task) = 0;

    // Runs handlers until quit() (which is safe from any thread).
    virtual void run() = 0;
    virtual void quit() = 0;
};

// A watch that ends with its owner.
class SocketWatch {
public:
    SocketWatch() = default;
    ~SocketWatch() { reset(); }
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;

    // False when the socket cannot be watched.
    bool start(EventLoop& loop, NativeSocket socket, unsigned interest,
               std::function<void(unsigned ready)> onReady);
    void setInterest(unsigned interest);
    [[nodiscard]] unsigned interest() const { return interest_; }
    [[nodiscard]] bool isWatching() const { return id_ != 0; }
    void reset();

private:
    EventLoop* loop_ = nullptr;
    EventLoop::WatchId id_ = 0;
    unsigned interest_ = 0;
};

// A loop of this system's own kind, for programs and tests that run one by itself; null when
// the system gives none (out of descriptors). Its timers run on `clock`, which must outlive it.
[[nodiscard]] std::unique_ptr<EventLoop>
makeEventLoop(const MonotonicClock& clock = systemMonotonicClock());

// A timer that stops with its owner, used as a one-shot or a repeating timer.
class Timer {
public:
    Timer(EventLoop& loop, std::function<void()> onTimeout);
    ~Timer() { stop(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void setSingleShot(bool singleShot) { singleShot_ = singleShot; }
    void setInterval(std::chrono::milliseconds interval) { interval_ = interval; }
    [[nodiscard]] std::chrono::milliseconds interval() const { return interval_; }
    // (Re)starts from now, with the interval given or the one set before.
    void start(std::chrono::milliseconds interval);
    void start() { start(interval_); }
    void stop();
    [[nodiscard]] bool isActive() const { return id_ != 0; }

private:
    void fired();

    EventLoop& loop_;
    std::function<void()> onTimeout_;
    std::chrono::milliseconds interval_{0};
    bool singleShot_ = false;
    EventLoop::TimerId id_ = 0;
};

} // namespace cvl
