#include "platform/linux/ini_settings_store.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <unistd.h>

namespace cvl {

namespace {

const QString kHomeKey = QStringLiteral("Software\\Chronvale Server");

bool isHomeKey(RegistryRoot root, const QString& subKey) {
    return root == HKEY_LOCAL_MACHINE && subKey.compare(kHomeKey, Qt::CaseInsensitive) == 0;
}

long statusCode(QSettings::Status status, long accessCode) {
    switch (status) {
    case QSettings::NoError:
        return ERROR_SUCCESS;
    case QSettings::AccessError:
        return accessCode;
    case QSettings::FormatError:
        return ERROR_BADDB;
    }
    return ERROR_BADDB;
}

} // namespace

IniSettingsStore::IniSettingsStore(const QString& filePath)
    : settings_(filePath, QSettings::IniFormat) {
    // Writes go through a temporary file renamed into place: a crash never leaves half a file.
    settings_.setAtomicSyncRequired(true);
}

QString IniSettingsStore::groupFor(RegistryRoot root, const QString& subKey) const {
    if (isHomeKey(root, subKey)) {
        return {};
    }
    QString group = registryRootName(root) + QLatin1Char('/') + subKey;
    group.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return group;
}

QString IniSettingsStore::keyFor(RegistryRoot root, const QString& subKey,
                                 const QString& name) const {
    const QString group = groupFor(root, subKey);
    return group.isEmpty() ? name : group + QLatin1Char('/') + name;
}

long IniSettingsStore::openKey(RegistryRoot root, const QString& subKey) const {
    if (registryRootName(root).isEmpty()) {
        return ERROR_BADKEY;
    }
    settings_.beginGroup(groupFor(root, subKey));
    const bool exists = !settings_.childKeys().isEmpty();
    settings_.endGroup();
    if (exists) {
        return ERROR_SUCCESS;
    }
    const long status = statusCode(settings_.status(), ERROR_CANTOPEN);
    return status == ERROR_SUCCESS ? long{ERROR_FILE_NOT_FOUND} : status;
}

long IniSettingsStore::queryValue(RegistryRoot root, const QString& subKey, const QString& name,
                                  QString& text) const {
    const QVariant value = settings_.value(keyFor(root, subKey, name));
    if (!value.isValid()) {
        text.clear();
        return ERROR_FILE_NOT_FOUND;
    }
    // A value that QSettings read as a list (it had commas) is still one text to us.
    text = value.typeId() == QMetaType::QStringList
               ? value.toStringList().join(QStringLiteral(", "))
               : value.toString();
    return ERROR_SUCCESS;
}

long IniSettingsStore::setValue(RegistryRoot root, const QString& subKey, const QString& name,
                                const QString& text) {
    if (registryRootName(root).isEmpty()) {
        return ERROR_BADKEY;
    }
    const QString key = keyFor(root, subKey, name);
    // An empty name (or one of slashes only) in the program's own key leaves QSettings an
    // empty key, which it drops without a word: say so rather than report the value written.
    if (key.count(QLatin1Char('/')) == key.size()) {
        return ERROR_INVALID_PARAMETER;
    }
    settings_.setValue(key, text);
    return syncResult();
}

long IniSettingsStore::deleteValue(RegistryRoot root, const QString& subKey, const QString& name) {
    const QString key = keyFor(root, subKey, name);
    if (!settings_.contains(key)) {
        return ERROR_FILE_NOT_FOUND;
    }
    settings_.remove(key);
    return syncResult();
}

long IniSettingsStore::syncResult() {
    settings_.sync();
    return statusCode(settings_.status(), ERROR_ACCESS_DENIED);
}

QString defaultSettingsPath() {
    const QString name = QStringLiteral("chronvale-server.conf");
    if (geteuid() == 0) {
        return QStringLiteral("/etc/chronvale-server/") + name;
    }
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/chronvale-server/") + name;
}

} // namespace cvl
