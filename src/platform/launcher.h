// Starts other programs (the updater, the desktop's date-and-time settings) detached.
#pragma once

#include <string>
#include <vector>

namespace cvl {

class Launcher {
public:
    virtual ~Launcher() = default;
    // False when the program could not be started; callers do not report it.
    virtual bool start(const std::string& program, const std::vector<std::string>& arguments) = 0;
    // Opens the date-and-time settings of the desktop, if it has any.
    virtual bool openDateTimeSettings() = 0;
};

} // namespace cvl
