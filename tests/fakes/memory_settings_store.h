// The settings store in memory, with a journal of every write and delete in order.
#pragma once

#include "platform/settings_store.h"

#include <QMap>
#include <QStringList>

namespace cvl::test {

class MemorySettingsStore final : public SettingsStore {
public:
    [[nodiscard]] long openKey(RegistryRoot root, const QString& subKey) const override {
        const QString prefix = path(root, subKey, {});
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            if (it.key().startsWith(prefix)) {
                return ERROR_SUCCESS;
            }
        }
        return ERROR_FILE_NOT_FOUND;
    }
    [[nodiscard]] long queryValue(RegistryRoot root, const QString& subKey, const QString& name,
                                  QString& text) const override {
        const auto it = values.constFind(path(root, subKey, name));
        text = it == values.cend() ? QString() : *it;
        return it == values.cend() ? long{ERROR_FILE_NOT_FOUND} : failReads;
    }
    long setValue(RegistryRoot root, const QString& subKey, const QString& name,
                  const QString& text) override {
        journal << QStringLiteral("set ") + name + QLatin1Char('=') + text;
        if (failWrites != ERROR_SUCCESS) {
            return failWrites;
        }
        values[path(root, subKey, name)] = text;
        return ERROR_SUCCESS;
    }
    long deleteValue(RegistryRoot root, const QString& subKey, const QString& name) override {
        journal << QStringLiteral("delete ") + name;
        return values.remove(path(root, subKey, name)) > 0 ? long{ERROR_SUCCESS}
                                                           : long{ERROR_FILE_NOT_FOUND};
    }

    // The program's own key, as most tests want it.
    void putHome(const QString& name, const QString& text) {
        values[path(HKEY_LOCAL_MACHINE, QStringLiteral("Software\\Chronvale Server"), name)] = text;
    }
    [[nodiscard]] QString home(const QString& name) const {
        return values.value(
            path(HKEY_LOCAL_MACHINE, QStringLiteral("Software\\Chronvale Server"), name));
    }

    QMap<QString, QString> values;
    QStringList journal;
    long failWrites = ERROR_SUCCESS;
    long failReads = ERROR_SUCCESS;

private:
    static QString path(RegistryRoot root, const QString& subKey, const QString& name) {
        return QString::number(root) + QLatin1Char('\\') + subKey.toLower() + QLatin1Char('\\') +
               name;
    }
};

} // namespace cvl::test
