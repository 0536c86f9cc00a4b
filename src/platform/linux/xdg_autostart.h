// The start-with-the-session entry: chronvale-server.desktop in the XDG autostart folder.
#pragma once

#include "platform/autostart.h"

namespace cvl {

class XdgAutostart final : public Autostart {
public:
    // configHome: the XDG config folder; the entry lives in its autostart/ folder.
    explicit XdgAutostart(QString configHome);

    [[nodiscard]] bool exists() const override;
    bool write(const QString& command) override;
    bool remove() override;

    [[nodiscard]] QString entryPath() const;

private:
    QString configHome_;
};

// $XDG_CONFIG_HOME, or ~/.config.
[[nodiscard]] QString xdgConfigHome();

} // namespace cvl
