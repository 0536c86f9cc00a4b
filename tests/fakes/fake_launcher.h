// Records what would have been started.
#pragma once

#include "platform/launcher.h"

#include <QList>

namespace cvl::test {

class FakeLauncher final : public Launcher {
public:
    bool start(const QString& program, const QStringList& arguments) override {
        started.append(QStringList{program} + arguments);
        return succeed;
    }
    bool openDateTimeSettings() override {
        ++dateTimeSettingsOpened;
        return succeed;
    }

    bool succeed = true;
    QList<QStringList> started;
    int dateTimeSettingsOpened = 0;
};

} // namespace cvl::test
