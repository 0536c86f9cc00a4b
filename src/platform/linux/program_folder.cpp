#include "platform/linux/program_folder.h"

#include <filesystem>
#include <unistd.h>

namespace cvl {

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

} // namespace cvl
