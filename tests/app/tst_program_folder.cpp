// The program folder of a build tree, of an installed copy (root and not), and the shipped
// server file copied into an empty program folder once.
#include "app/program_folder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace cvl;

namespace {

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestProgramFolder : public QObject {
    Q_OBJECT
private slots:
    void buildTreeAndInstalledCopy() {
        QTemporaryDir temp;
        QVERIFY(temp.isValid());
        const QString dataHome = temp.filePath(QStringLiteral("home/.local/share"));

        const QString buildFolder = temp.filePath(QStringLiteral("build/src/app"));
        QVERIFY(QDir().mkpath(buildFolder));
        QCOMPARE(defaultProgramFolder(buildFolder, true, dataHome), buildFolder);

        const QString binFolder = temp.filePath(QStringLiteral("usr/bin"));
        QVERIFY(QDir().mkpath(binFolder));
        writeFile(installedServerFile(binFolder), "list");
        QVERIFY(installedServerFile(binFolder).startsWith(temp.filePath(QStringLiteral("usr/"))));
        QCOMPARE(defaultProgramFolder(binFolder, true, dataHome),
                 QStringLiteral("/var/lib/chronvale-server"));
        QCOMPARE(defaultProgramFolder(binFolder, false, dataHome),
                 dataHome + QStringLiteral("/chronvale-server"));
    }

    void shippedServerFileCopiedOnce() {
        QTemporaryDir temp;
        QVERIFY(temp.isValid());
        const QString shipped = temp.filePath(QStringLiteral("share/QBK_CVLS4.CVL"));
        writeFile(shipped, "shipped");
        QFile::setPermissions(shipped, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
        const QString folder = temp.filePath(QStringLiteral("data"));
        QVERIFY(QDir().mkpath(folder));
        const QString target = folder + QStringLiteral("/QBK_CVLS4.CVL");

        QVERIFY(!provideServerFile(folder, temp.filePath(QStringLiteral("missing"))));
        QVERIFY(!QFile::exists(target));
        QVERIFY(provideServerFile(folder, shipped));
        QCOMPARE(readFile(target), QByteArray("shipped"));
        QVERIFY(QFile::permissions(target).testFlag(QFile::WriteOwner));

        writeFile(target, "downloaded");
        QVERIFY(provideServerFile(folder, shipped));
        QCOMPARE(readFile(target), QByteArray("downloaded"));
    }
};

QTEST_GUILESS_MAIN(TestProgramFolder)
#include "tst_program_folder.moc"
