#include "core/registry.h"

namespace cvl {

Registry::Registry(SettingsStore& store)
    : store_(store) {}

void Registry::note(long code) {
    lastError_ =
        (code == ERROR_SUCCESS || code == ERROR_FILE_NOT_FOUND) ? QString() : errorText(code);
}

QString Registry::read(const QString& subKey, const QString& name) {
    QString text;
    const long code = store_.queryValue(HKEY_LOCAL_MACHINE, subKey, name, text);
    note(code);
    return code == ERROR_SUCCESS ? text : QString();
}

bool Registry::write(RegistryRoot root, const QString& subKey, const QString& name,
                     const QString& text) {
    const long code = store_.setValue(root, subKey, name, text);
    note(code);
    return code == ERROR_SUCCESS;
}

long Registry::remove(RegistryRoot root, const QString& subKey, const QString& name) {
    const long code = store_.deleteValue(root, subKey, name);
    note(code);
    return code;
}

bool Registry::keyExists(RegistryRoot root, const QString& subKey) {
    const long code = store_.openKey(root, subKey);
    note(code);
    return code == ERROR_SUCCESS;
}

Registry::SplitPath Registry::splitPath(const QString& fullPath) {
    SplitPath split;
    if (!fullPath.startsWith(QLatin1String("HKEY_"))) {
        split.error = QStringLiteral("Incorrect Format:") + fullPath;
        return split;
    }
    const qsizetype slash = fullPath.indexOf(QLatin1Char('\\'));
    const QString rootName = slash < 0 ? fullPath : fullPath.left(slash);
    split.root = registryRootFromName(rootName);
    if (split.root == 0) {
        split.error = errorText(ERROR_BADKEY);
        return split;
    }
    split.subKey = slash < 0 ? QString() : fullPath.mid(slash + 1);
    return split;
}

QString Registry::errorText(long code) {
    switch (code) {
    case ERROR_BADDB:
        return QStringLiteral("The Registry Database is corrupt!");
    case ERROR_BADKEY:
        return QStringLiteral("Bad Key Name");
    case ERROR_CANTOPEN:
        return QStringLiteral("Can't Open Key");
    case ERROR_CANTREAD:
        return QStringLiteral("Can't Read Key");
    case ERROR_ACCESS_DENIED:
        return QStringLiteral("Access to this key is denied");
    case ERROR_CANTWRITE:
        return QStringLiteral("Can't Write Key");
    case ERROR_OUTOFMEMORY:
        return QStringLiteral("Out of memory");
    case ERROR_INVALID_PARAMETER:
        return QStringLiteral("Invalid Parameter");
    case ERROR_MORE_DATA:
        return QStringLiteral("There is more data than the buffer has been allocated to hold.");
    default:
        return QStringLiteral("Undefined Error Code:") + QString::number(code);
    }
}

} // namespace cvl
