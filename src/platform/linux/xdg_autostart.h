// The start-with-the-session entry: chronvale-server.desktop in the XDG autostart folder.
#pragma once

#include "platform/autostart.h"

namespace cvl {

class XdgAutostart final : public Autostart {
public:
    // configHome: the XDG config folder; the entry lives in its autostart/ folder.
    explicit XdgAutostart(std::string configHome);

    [[nodiscard]] bool exists() const override;
    bool write(const std::string& command) override;
    bool remove() override;

    [[nodiscard]] std::string entryPath() const;

private:
    std::string configHome_;
};

} // namespace cvl
