#include "app/program_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace cvl {

namespace {

const QString kServerFileName = QStringLiteral("QBK_CVLS4.CVL");

} // namespace

QString installedServerFile(const QString& executableFolder) {
    // CHRONVALE_SHIPPED_DATA_DIR is the data folder relative to bin/, as installed.
    return QDir::cleanPath(executableFolder + QLatin1Char('/') +
                           QStringLiteral(CHRONVALE_SHIPPED_DATA_DIR) + QLatin1Char('/') +
                           kServerFileName);
}

QString defaultProgramFolder(const QString& executableFolder, bool root, const QString& dataHome) {
    const bool installed = QFileInfo::exists(installedServerFile(executableFolder));
    if (!installed && QFileInfo(executableFolder).isWritable()) {
        return QDir(executableFolder).absolutePath();
    }
    if (root) {
        return kSystemProgramFolder;
    }
    return QDir::cleanPath(dataHome + QStringLiteral("/chronvale-server"));
}

bool provideServerFile(const QString& programFolder, const QString& shippedFile) {
    const QString target = programFolder + QLatin1Char('/') + kServerFileName;
    if (QFileInfo::exists(target)) {
        return true;
    }
    if (shippedFile.isEmpty() || !QFileInfo::exists(shippedFile) ||
        !QFile::copy(shippedFile, target)) {
        return false;
    }
    // The shipped file may be read-only; the copy must stay replaceable by the update check.
    QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                      QFile::ReadOther);
    return true;
}

} // namespace cvl
