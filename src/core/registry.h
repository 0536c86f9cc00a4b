// Every access to the settings store goes through here: read, write and delete of text
// values, the split of a full "HKEY_..." path, and the error texts shown for store failures.
#pragma once

#include "platform/settings_store.h"

#include <QString>

namespace cvl {

class Registry {
public:
    explicit Registry(SettingsStore& store);

    // A value of the local machine; empty when missing or unreadable.
    [[nodiscard]] QString read(const QString& subKey, const QString& name);
    bool write(RegistryRoot root, const QString& subKey, const QString& name, const QString& text);
    long remove(RegistryRoot root, const QString& subKey, const QString& name);
    [[nodiscard]] bool keyExists(RegistryRoot root, const QString& subKey);

    // Text of the last failure (empty after a success or a plain missing value).
    [[nodiscard]] const QString& lastError() const { return lastError_; }

    struct SplitPath {
        RegistryRoot root = 0;
        QString subKey;
        QString error; // non-empty when the text is not a registry path
    };
    [[nodiscard]] static SplitPath splitPath(const QString& fullPath);
    [[nodiscard]] static QString errorText(long code);

private:
    void note(long code);

    SettingsStore& store_;
    QString lastError_;
};

} // namespace cvl
