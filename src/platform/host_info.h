// Facts about the machine and the running program that the log and the update check need.
#pragma once

#include <string>

namespace cvl {

class HostInfo {
public:
    virtual ~HostInfo() = default;
    [[nodiscard]] virtual std::string userName() const = 0;
    [[nodiscard]] virtual std::string hostName() const = 0;
    // The machine's address on its network (the first non-loopback IPv4 one, else loopback).
    [[nodiscard]] virtual std::string localAddress() const = 0;
    // The folder that holds the server file, Logs/ and the updater. No trailing separator.
    [[nodiscard]] virtual std::string programFolder() const = 0;
    // The separate updater program, which lives beside this one.
    [[nodiscard]] virtual std::string updaterProgram() const = 0;
    // The command that starts this program again (for the start-with-the-system entry).
    [[nodiscard]] virtual std::string programCommand() const = 0;
};

} // namespace cvl
