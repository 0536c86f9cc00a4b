// Facts about the machine and the running program that the log and the update check need.
#pragma once

#include <QString>

namespace cvl {

class HostInfo {
public:
    virtual ~HostInfo() = default;
    [[nodiscard]] virtual QString userName() const = 0;
    [[nodiscard]] virtual QString hostName() const = 0;
    // The machine's address on its network (the first non-loopback IPv4 one, else loopback).
    [[nodiscard]] virtual QString localAddress() const = 0;
    // The folder that holds the server file, Logs/ and the updater. No trailing separator.
    [[nodiscard]] virtual QString programFolder() const = 0;
    // The command that starts this program again (for the start-with-the-system entry).
    [[nodiscard]] virtual QString programCommand() const = 0;
};

} // namespace cvl
