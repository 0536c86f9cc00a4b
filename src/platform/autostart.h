// The entry that starts the program with the user's session (or with the system).
#pragma once

#include <string>

namespace cvl {

class Autostart {
public:
    virtual ~Autostart() = default;
    [[nodiscard]] virtual bool exists() const = 0;
    virtual bool write(const std::string& command) = 0;
    virtual bool remove() = 0;
};

} // namespace cvl
