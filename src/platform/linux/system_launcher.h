// Starts programs detached from this one.
#pragma once

#include "platform/launcher.h"

namespace cvl {

class SystemLauncher final : public Launcher {
public:
    bool start(const QString& program, const QStringList& arguments) override;
    bool openDateTimeSettings() override;
};

} // namespace cvl
