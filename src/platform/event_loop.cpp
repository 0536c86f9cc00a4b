#include "platform/event_loop.h"

#include <utility>

namespace cvl {

bool SocketWatch::start(EventLoop& loop, NativeSocket socket, unsigned interest,
                        std::function<void(unsigned ready)> onReady) {
    reset();
    loop_ = &loop;
    id_ = loop.watch(socket, interest, std::move(onReady));
    interest_ = id_ != 0 ? interest : 0;
    return id_ != 0;
}

void SocketWatch::setInterest(unsigned interest) {
    if (id_ != 0 && interest != interest_) {
        interest_ = interest;
        loop_->setInterest(id_, interest);
    }
}

void SocketWatch::reset() {
    if (id_ != 0) {
        loop_->unwatch(std::exchange(id_, 0));
        interest_ = 0;
    }
}

Timer::Timer(EventLoop& loop, std::function<void()> onTimeout)
    : loop_(loop)
    , onTimeout_(std::move(onTimeout)) {}

void Timer::start(std::chrono::milliseconds interval) {
    stop();
    interval_ = interval;
    id_ = loop_.startTimer(interval, singleShot_ ? std::chrono::milliseconds(0) : interval,
                           [this] { fired(); });
}

void Timer::stop() {
    if (id_ != 0) {
        loop_.stopTimer(std::exchange(id_, 0));
    }
}

void Timer::fired() {
    if (singleShot_) {
        id_ = 0;
    }
    // A copy: the handler may destroy this timer's owner.
    const std::function<void()> handler = onTimeout_;
    handler();
}

} // namespace cvl
