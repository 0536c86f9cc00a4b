// Numbers typed by people or read from text: the value of a leading number ("37abc" is 37,
// "abc" is 0) and the rounding into 16- and 32-bit integers that port boxes, the interval box
// and header fields go through. Rounding is to nearest with halves to even.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace cvl {

// The value of the number at the start of the text, 0 when there is none. Blanks, tabs and
// line feeds are ignored wherever they stand; a sign, a decimal point and an exponent are
// understood.
[[nodiscard]] double leadingNumber(std::string_view text);

// Round half to even into the range of the type; nullopt when the value does not fit.
[[nodiscard]] std::optional<std::int16_t> roundToInt16(double value);
[[nodiscard]] std::optional<std::int32_t> roundToInt32(double value);

// True when the whole text (blanks aside) is a number, as the interval box wants it.
[[nodiscard]] bool isNumericText(std::string_view text);

} // namespace cvl
