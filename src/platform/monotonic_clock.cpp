#include "platform/monotonic_clock.h"

namespace cvl {

namespace {

class SteadyClock final : public MonotonicClock {
public:
    [[nodiscard]] TimePoint now() const override { return std::chrono::steady_clock::now(); }
};

} // namespace

const MonotonicClock& systemMonotonicClock() {
    static const SteadyClock clock;
    return clock;
}

} // namespace cvl
