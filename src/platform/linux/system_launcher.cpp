#include "platform/linux/system_launcher.h"

#include <QProcess>
#include <QStandardPaths>

namespace cvl {

bool SystemLauncher::start(const QString& program, const QStringList& arguments) {
    return QProcess::startDetached(program, arguments);
}

bool SystemLauncher::openDateTimeSettings() {
    // The first desktop tool found wins; a desktop without one simply gets nothing.
    const QList<QStringList> candidates{
        {QStringLiteral("gnome-control-center"), QStringLiteral("datetime")},
        {QStringLiteral("kcmshell6"), QStringLiteral("kcm_clock")},
        {QStringLiteral("kcmshell5"), QStringLiteral("clock")},
        {QStringLiteral("xfce4-datetime-settings")},
        {QStringLiteral("time-admin")},
    };
    for (const QStringList& command : candidates) {
        if (!QStandardPaths::findExecutable(command.first()).isEmpty()) {
            return start(command.first(), command.mid(1));
        }
    }
    return false;
}

} // namespace cvl
