// User, host and program folder of the running process.
#pragma once

#include "platform/host_info.h"

namespace cvl {

class SystemHostInfo final : public HostInfo {
public:
    SystemHostInfo(std::string programFolder, std::string programCommand);

    [[nodiscard]] std::string userName() const override;
    [[nodiscard]] std::string hostName() const override;
    [[nodiscard]] std::string localAddress() const override;
    [[nodiscard]] std::string programFolder() const override { return programFolder_; }
    [[nodiscard]] std::string updaterProgram() const override {
        return programFolder_ + "/QBKUpdate";
    }
    [[nodiscard]] std::string programCommand() const override { return programCommand_; }

private:
    std::string programFolder_;
    std::string programCommand_;
};

} // namespace cvl
