// Starts other programs by command line, detached: they outlive this one.
#pragma once

#include "platform/launcher.h"

namespace cvl {

class SystemLauncher final : public Launcher {
public:
    // The command is the program (quoted, as its folder may hold blanks) followed by the
    // arguments as they are, one blank apart, in a normal focused window.
    bool start(const std::string& program, const std::vector<std::string>& arguments) override;
    // The control panel's date and time, shown at its own size and place.
    bool openDateTimeSettings() override;
};

} // namespace cvl
