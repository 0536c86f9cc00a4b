#include "platform/single_instance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace cvl {

SingleInstance::SingleInstance(const QString& settingsPath) {
    const QByteArray absolute = QFileInfo(settingsPath).absoluteFilePath().toUtf8();
    const QString tag = QString::fromLatin1(
        QCryptographicHash::hash(absolute, QCryptographicHash::Sha1).toHex().left(16));
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty()) {
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
