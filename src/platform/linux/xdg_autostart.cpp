#include "platform/linux/xdg_autostart.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <utility>

namespace cvl {

XdgAutostart::XdgAutostart(QString configHome)
    : configHome_(std::move(configHome)) {}

QString XdgAutostart::entryPath() const {
    return configHome_ + QStringLiteral("/autostart/chronvale-server.desktop");
}

bool XdgAutostart::exists() const {
    return QFile::exists(entryPath());
}

bool XdgAutostart::write(const QString& command) {
    if (!QDir().mkpath(configHome_ + QStringLiteral("/autostart"))) {
        return false;
    }
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Chronvale Server\n"
                                         "Comment=Network time server\n"
                                         "Exec=%1\n"
                                         "Icon=chronvale-server\n"
                                         "Terminal=false\n"
                                         "X-GNOME-Autostart-enabled=true\n")
                              .arg(command);
    file.write(entry.toUtf8());
    return file.commit();
}

bool XdgAutostart::remove() {
    return QFile::remove(entryPath());
}

QString xdgConfigHome() {
    const QString fromEnvironment = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!fromEnvironment.isEmpty()) {
        return fromEnvironment;
    }
    return QDir::homePath() + QStringLiteral("/.config");
}

} // namespace cvl
