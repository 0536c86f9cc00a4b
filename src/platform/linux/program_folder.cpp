#include "platform/linux/program_folder.h"

#include <filesystem>
#include <unistd.h>

namespace cvl {

namespace {

constexpr const char* kServerFileName = "QBK_CVLS4.CVL";

} // namespace

std::string runningProgramFile() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : self.string();
}

std::string installedServerFile(const std::string& executableFolder) {
    // CHRONVALE_SHIPPED_DATA_DIR is the data folder relative to bin/, as installed.
    const std::filesystem::path path =
        std::filesystem::path(executableFolder) / CHRONVALE_SHIPPED_DATA_DIR / kServerFileName;
    return path.lexically_normal().string();
}

std::string defaultProgramFolder(const std::string& executableFolder, bool root,
                                 const std::string& dataHome) {
    std::error_code error;
    const bool installed = std::filesystem::exists(installedServerFile(executableFolder), error);
    if (!installed && ::access(executableFolder.c_str(), W_OK) == 0) {
        return std::filesystem::absolute(executableFolder, error).lexically_normal().string();
    }
    if (root) {
        return kSystemProgramFolder;
    }
    return (std::filesystem::path(dataHome) / "chronvale-server").lexically_normal().string();
}

bool provideServerFile(const std::string& programFolder, const std::string& shippedFile) {
    namespace fs = std::filesystem;
    const fs::path target = fs::path(programFolder) / kServerFileName;
    std::error_code error;
    if (fs::exists(target, error)) {
        return true;
    }
    if (shippedFile.empty() || !fs::copy_file(shippedFile, target, error)) {
        return false;
    }
    // The shipped file may be read-only; the copy must stay replaceable by the update check.
    fs::permissions(target,
                    fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                        fs::perms::others_read,
                    error);
    return true;
}

} // namespace cvl
