// A fresh folder for one test, removed with everything in it afterwards, and whole files
// read and written in it.
#pragma once

#include "platform/file_path.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

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

inline bool writeFile(const std::string& path, const std::string& bytes) {
    std::error_code ignored;
    std::filesystem::create_directories(filePath(path).parent_path(), ignored);
    std::ofstream file(filePath(path), std::ios::binary | std::ios::trunc);
    file << bytes;
    return static_cast<bool>(file);
}

} // namespace cvl::test
