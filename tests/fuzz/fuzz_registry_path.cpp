// A registry path and a value, as the settings file or a caller hands them over: the path
// split into its root and key, and the value written through the INI store and read back by
// another store from the file. The input is the path, then optionally a NUL and the value's
// name, then a NUL and its text.
#include "core/registry.h"
#include "fuzz_support.h"
#include "platform/linux/ini_settings_store.h"

#include <QFile>
#include <QTemporaryDir>

using namespace cvl;

namespace {

struct State {
    QTemporaryDir folder;
    quint64 round = 0;
};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QList<QByteArray> parts =
        QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)).split('\0');
    const QString path = QString::fromUtf8(parts.at(0));
    const QString name =
        parts.size() > 1 ? QString::fromUtf8(parts.at(1)) : QStringLiteral("Settings");
    const QString text = parts.size() > 2 ? QString::fromUtf8(parts.at(2))
                                          : QStringLiteral("YES:59:Minutes/s:NA:36");

    const Registry::SplitPath split = Registry::splitPath(path);
    if (!split.error.isEmpty()) {
        fuzz::require(split.root == 0 && split.subKey.isEmpty());
        return 0;
    }
    const QString rootName = registryRootName(split.root);
    fuzz::require(path == rootName || path == rootName + QLatin1Char('\\') + split.subKey);

    // QSettings keeps what it parsed of a file for the next QSettings on that name, so the
    // reader gets a name never used before.
    const QString written = state->folder.filePath(QStringLiteral("%1.conf").arg(++state->round));
    const QString read = written + QStringLiteral(".read");
    bool stored = false;
    {
        IniSettingsStore writer(written);
        Registry registry(writer);
        stored = registry.write(split.root, split.subKey, name, text);
    }
    fuzz::require(!QFile::exists(written) || QFile::rename(written, read));
    QString back;
    const long code = IniSettingsStore(read).queryValue(split.root, split.subKey, name, back);
    QFile::remove(read);
    // Opened again once its file is gone, QSettings lets go of what it kept: the round leaves
    // nothing behind.
    for (const QString& gone : {written, read}) {
        QSettings(gone, QSettings::IniFormat).sync();
    }
    fuzz::require(!stored || (code == ERROR_SUCCESS && back == text));
    return 0;
}
