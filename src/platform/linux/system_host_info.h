// User, host and program folder of the running process.
#pragma once

#include "platform/host_info.h"

namespace cvl {

class SystemHostInfo final : public HostInfo {
public:
    SystemHostInfo(QString programFolder, QString programCommand);

    [[nodiscard]] QString userName() const override;
    [[nodiscard]] QString hostName() const override;
    [[nodiscard]] QString localAddress() const override;
    [[nodiscard]] QString programFolder() const override { return programFolder_; }
    [[nodiscard]] QString programCommand() const override { return programCommand_; }

private:
    QString programFolder_;
    QString programCommand_;
};

} // namespace cvl
