// The floating-point steps the NTP timestamp is built from: a remainder that is never zero and
// the rounding of a remainder into one byte.
#pragma once

#include <cstdint>
#include <optional>

namespace cvl {

// What mdiv() gives instead of a zero remainder: the first value of the old BASIC generator
// after re-seeding with -1, scaled into [1, 256). Kept at single precision, as that generator
// had it, so the bytes it produces match ours.
inline constexpr double mdivZeroSubstitute = static_cast<float>(0.2240070104599 * 255 + 1);

// a modulo b with a floored quotient (the sign of b). A zero remainder is replaced by
// mdivZeroSubstitute on purpose, so an exact multiple never turns into a zero byte.
[[nodiscard]] double mdiv(double a, double b);

// Rounds to the nearest integer, halves to even, and takes it as a byte; nullopt when the
// result lies outside 0..255 (an overflow that abandons the reply).
[[nodiscard]] std::optional<std::uint8_t> roundToByte(double value);

} // namespace cvl
