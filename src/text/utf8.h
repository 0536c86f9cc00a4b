// Text is UTF-8 throughout the server. Where a limit or a position counts characters (a field
// of 64, the last two of a line), these count code points, so that no cut splits a character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cvl::utf8 {

[[nodiscard]] std::size_t characterCount(std::string_view text);
// At most the first `count` characters.
[[nodiscard]] std::string_view firstCharacters(std::string_view text, std::size_t count);
// At most the last `count` characters.
[[nodiscard]] std::string_view lastCharacters(std::string_view text, std::size_t count);
// Everything but the last character.
[[nodiscard]] std::string_view withoutLastCharacter(std::string_view text);

[[nodiscard]] bool isValid(std::string_view bytes);
// Without white space at either end: the ASCII controls and blank, and Unicode's other
// spaces and line and paragraph separators.
[[nodiscard]] std::string_view trimmed(std::string_view text);
// Each byte as the character of the same number.
[[nodiscard]] std::string fromLatin1(std::string_view bytes);

} // namespace cvl::utf8
