// User, host and program folder of the running process on Windows. The program folder is the
// executable's, unless the command line named another.
#pragma once

#include "platform/host_info.h"

#include <string>

namespace cvl {

class SystemHostInfo final : public HostInfo {
public:
    explicit SystemHostInfo(std::string programFolder);

    [[nodiscard]] std::string userName() const override;
    [[nodiscard]] std::string hostName() const override;
    [[nodiscard]] std::string localAddress() const override;
    [[nodiscard]] std::string programFolder() const override { return programFolder_; }
    [[nodiscard]] std::string updaterProgram() const override {
        return programFolder_ + "\\QBKUpdate.exe";
    }
    // What the Run entry holds.
    [[nodiscard]] std::string programCommand() const override {
        return programFolder_ + "\\QBK_CVL_Server.exe";
    }

private:
    std::string programFolder_;
};

// The running executable's full path.
[[nodiscard]] std::string runningProgramFile();

} // namespace cvl
