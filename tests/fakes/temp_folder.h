// A fresh folder for one test, removed with everything in it afterwards, and whole files
// read and written in it.
#pragma once

#include "platform/file_path.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace cvl::test {

class TempFolder {
public:
    TempFolder() {
        static std::atomic<int> count{0};
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                ("chronvale-test-" + std::to_string(stamp) + '-' + std::to_string(count++));
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] std::string path() const { return pathText(path_); }
    [[nodiscard]] std::string filePath(const std::string& name) const {
        return path() + '/' + name;
    }

private:
    std::filesystem::path path_;
};

// A missing file reads as empty.
inline std::string readFile(const std::string& path) {
    std::ifstream file(filePath(path), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// The file's lines, each ended by CR LF as the log writes them.
inline std::vector<std::string> readLines(const std::string& path) {
    const std::string text = readFile(path);
    std::vector<std::string> lines;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find("\r\n", from), text.size());
        lines.push_back(text.substr(from, end - from));
        from = end + 2;
    }
    return lines;
}

inline bool writeFile(const std::string& path, const std::string& bytes) {
    std::error_code ignored;
    std::filesystem::create_directories(filePath(path).parent_path(), ignored);
    std::ofstream file(filePath(path), std::ios::binary | std::ios::trunc);
    file << bytes;
    return static_cast<bool>(file);
}

} // namespace cvl::test
