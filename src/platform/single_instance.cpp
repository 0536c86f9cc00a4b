#include "platform/single_instance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>

namespace cvl {

SingleInstance::SingleInstance(const QString& settingsPath) {
    const QFileInfo settings(settingsPath);
    QDir().mkpath(settings.absolutePath());
    if (QFileInfo(settings.absolutePath()).isWritable()) {
        // Not "<file>.lock": the settings store takes that one briefly on every write.
        lockPath_ = settings.absoluteFilePath() + QStringLiteral(".instance");
        return;
    }
    const QByteArray absolute = settings.absoluteFilePath().toUtf8();
    const QString tag = QString::fromLatin1(
        QCryptographicHash::hash(absolute, QCryptographicHash::Sha1).toHex().left(16));
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QFileInfo(folder).isDir()) {
        folder = QDir::tempPath();
    }
    lockPath_ = folder + QStringLiteral("/chronvale-server-") + tag + QStringLiteral(".lock");
}

bool SingleInstance::acquire() {
    lock_ = std::make_unique<QLockFile>(lockPath_);
    lock_->setStaleLockTime(0); // only a dead owner makes a lock stale
    return lock_->tryLock(0);
}

} // namespace cvl
