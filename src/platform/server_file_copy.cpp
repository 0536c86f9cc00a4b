#include "platform/server_file_copy.h"
#include "platform/file_path.h"

#include <filesystem>

namespace cvl {

bool provideServerFile(const std::string& programFolder, const std::string& shippedFile) {
    namespace fs = std::filesystem;
    const fs::path target = filePath(programFolder) / kServerFileName;
    std::error_code error;
    if (fs::exists(target, error)) {
        return true;
    }
    if (shippedFile.empty() || !fs::copy_file(filePath(shippedFile), target, error)) {
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
