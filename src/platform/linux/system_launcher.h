// Starts programs detached from this one: they outlive it and are never its zombies.
#pragma once

#include "platform/launcher.h"

namespace cvl {

class SystemLauncher final : public Launcher {
public:
    bool start(const std::string& program, const std::vector<std::string>& arguments) override;
    bool openDateTimeSettings() override;
};

// The program's path: as given when it names a folder, else found along PATH; empty when it
// is nowhere to be run.
[[nodiscard]] std::string findExecutable(const std::string& program);

} // namespace cvl
