// Windows speaks UTF-16 in its W calls; the server's text is UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace cvl {

[[nodiscard]] std::wstring wideFromUtf8(std::string_view text);
[[nodiscard]] std::string utf8FromWide(std::wstring_view text);

} // namespace cvl
