#include "timebase/arithmetic.h"

#include <cmath>

namespace cvl {

double mdiv(double a, double b) {
    const double remainder = a - b * std::floor(a / b);
    return remainder == 0 ? mdivZeroSubstitute : remainder;
}

std::optional<std::uint8_t> roundToByte(double value) {
    // nearbyint() under the default rounding mode is round-half-to-even, unlike round().
    const double rounded = std::nearbyint(value);
    if (!(rounded >= 0 && rounded <= 255)) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(rounded);
}

} // namespace cvl
