// A request count as the display shows it: 32-bit signed, and an increment past the largest
// value fails instead of wrapping to a negative count.
#pragma once

#include <cstdint>
#include <limits>

namespace cvl {

class RequestCounter {
public:
    [[nodiscard]] bool increment() {
        if (value_ == std::numeric_limits<std::int32_t>::max()) {
            return false;
        }
        ++value_;
        return true;
    }
    void decrement() { --value_; }
    [[nodiscard]] std::int32_t value() const { return value_; }

private:
    std::int32_t value_ = 0;
};

} // namespace cvl
