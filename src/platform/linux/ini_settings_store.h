// The registry-like store kept in one INI file. The program's own key (HKEY_LOCAL_MACHINE
// "Software\Chronvale Server") holds its values at the top level, one Name=text line each;
// any other key becomes a group named after its root and path.
#pragma once

#include "platform/settings_store.h"

#include <QSettings>

namespace cvl {

class IniSettingsStore final : public SettingsStore {
public:
    explicit IniSettingsStore(const QString& filePath);

    [[nodiscard]] long openKey(RegistryRoot root, const QString& subKey) const override;
    [[nodiscard]] long queryValue(RegistryRoot root, const QString& subKey, const QString& name,
                                  QString& text) const override;
    long setValue(RegistryRoot root, const QString& subKey, const QString& name,
                  const QString& text) override;
    long deleteValue(RegistryRoot root, const QString& subKey, const QString& name) override;

    [[nodiscard]] QString filePath() const { return settings_.fileName(); }

private:
    [[nodiscard]] QString keyFor(RegistryRoot root, const QString& subKey,
                                 const QString& name) const;
    [[nodiscard]] QString groupFor(RegistryRoot root, const QString& subKey) const;
    long syncResult();

    mutable QSettings settings_;
};

// Where the settings live unless --settings names a file: the machine-wide file when this
// process may write it (running as root), otherwise the user's own.
[[nodiscard]] QString defaultSettingsPath();

} // namespace cvl
