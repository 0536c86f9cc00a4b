// A monotonic clock that a test moves ahead: the system's own plus whatever the test skipped,
// so that timers far off fall due at once while sockets still run in real time.
#pragma once

#include "platform/monotonic_clock.h"

#include <chrono>

namespace cvl::test {

class SkippingClock final : public MonotonicClock {
public:
    [[nodiscard]] TimePoint now() const override {
        return std::chrono::steady_clock::now() + skipped_;
    }
    void skip(std::chrono::milliseconds by) { skipped_ += by; }

private:
    std::chrono::nanoseconds skipped_{0};
};

} // namespace cvl::test
