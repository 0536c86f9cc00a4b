// Paths are UTF-8 text in the server; the file system gets them in its own form (UTF-16 on
// Windows), through these two conversions.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace cvl {

[[nodiscard]] inline std::filesystem::path filePath(std::string_view utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

[[nodiscard]] inline std::string pathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

} // namespace cvl
