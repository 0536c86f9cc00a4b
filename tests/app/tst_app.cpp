// The executable's start: its command line (the exact "-rs" first word, options with values,
// and the errors that must stop the start), the program folder of a build tree and of an
// installed copy (root and not), and the shipped server file copied into an empty program
// folder once.
#include "app/command_line.h"
#include "app/program_folder.h"
#include "server_rig.h"

#include <QTest>

using namespace cvl;
using test::readFile;
using test::writeFile;

namespace {

CommandLineResult parse(const QStringList& words) {
    return parseCommandLine(QStringList{QStringLiteral("chronvale-server")} + words);
}

} // namespace

class TestApp : public QObject {
    Q_OBJECT
private slots:
    void hiddenStartNeedsTheExactFirstWord() {
        const auto hidden = [](const QStringList& words) {
            const CommandLineResult result = parse(words);
            return result.line ? QString::number(result.line->startHidden) : result.error;
        };
        QCOMPARE(hidden({"-rs", "--headless"}), "1");
        QCOMPARE(hidden({"words", "-rs"}), "0"); // not first
        QCOMPARE(hidden({"/rs"}), "0");
        QCOMPARE(hidden({}), "0");
    }

    // Only our own options are options: a word that merely looks like one starts the
    // program normally and is reported, while a misspelt long option stops it.
    void wordsThatAreNotOptions() {
        const CommandLineResult result = parse({"-RS", "/rs", "--headless", "stray"});
        QVERIFY(result.line);
        QVERIFY(!result.line->startHidden);
        QVERIFY(result.line->headless);
        QCOMPARE(result.line->ignored, QStringList({"-RS", "/rs", "stray"}));
        QVERIFY(parse({"-rs"}).line->ignored.isEmpty());
        QVERIFY(parse({"--strict-sync"}).line->strictSync);
    }

    void optionsWithValues() {
        const CommandLineResult result = parse(
            {"--headless", "--no-set-clock", "--data-dir", "/srv/cvl", "--settings=/etc/x.conf",
             "--reference-port", "20123", "--update-server", "updates.example:8080"});
        QVERIFY(result.line);
        const CommandLine& line = *result.line;
        QVERIFY(line.headless);
        QVERIFY(line.noSetClock);
        QCOMPARE(line.dataDir, QStringLiteral("/srv/cvl"));
        QCOMPARE(line.settingsFile, QStringLiteral("/etc/x.conf"));
        QCOMPARE(line.referencePort, quint16{20123});
        QCOMPARE(line.updateHost, QStringLiteral("updates.example"));
        QCOMPARE(line.updatePort, quint16{8080});
        QCOMPARE(parse({"--update-server", "host"}).line->updatePort, quint16{80});
    }

    void errors() {
        const auto error = [](const QStringList& words) {
            const CommandLineResult result = parse(words);
            return result.line ? QStringLiteral("accepted") : result.error;
        };
        QCOMPARE(error({"--frobnicate"}), "unknown option: --frobnicate");
        QCOMPARE(error({"--rs"}), "unknown option: --rs");
        QCOMPARE(error({"--settings"}), "option --settings needs a value");
        QCOMPARE(error({"--reference-port", "70000"}),
                 "--reference-port: not a port number: 70000");
        QCOMPARE(error({"--update-server", ":80"}),
                 "--update-server: expected HOST[:PORT], got :80");
    }

    void programFolderOfBuildTreeAndInstalledCopy() {
        QTemporaryDir temp;
        const QString dataHome = temp.filePath(QStringLiteral("home/.local/share"));
        const QString buildFolder = temp.filePath(QStringLiteral("build/src/app"));
        QVERIFY(QDir().mkpath(buildFolder));
        QCOMPARE(defaultProgramFolder(buildFolder, true, dataHome), buildFolder);

        const QString binFolder = temp.filePath(QStringLiteral("usr/bin"));
        QVERIFY(QDir().mkpath(binFolder));
        QVERIFY(installedServerFile(binFolder).startsWith(temp.filePath(QStringLiteral("usr/"))));
        QVERIFY(writeFile(installedServerFile(binFolder), "list"));
        QCOMPARE(defaultProgramFolder(binFolder, true, dataHome),
                 QStringLiteral("/var/lib/chronvale-server"));
        QCOMPARE(defaultProgramFolder(binFolder, false, dataHome),
                 dataHome + QStringLiteral("/chronvale-server"));
    }

    void shippedServerFileCopiedOnce() {
        QTemporaryDir temp;
        const QString shipped = temp.filePath(QStringLiteral("share/QBK_CVLS4.CVL"));
        QVERIFY(writeFile(shipped, "shipped"));
        QFile::setPermissions(shipped, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
        const QString target = temp.filePath(QStringLiteral("data/QBK_CVLS4.CVL"));
        QVERIFY(QDir().mkpath(temp.filePath(QStringLiteral("data"))));

        QVERIFY(!provideServerFile(temp.filePath("data"), temp.filePath("missing")));
        QVERIFY(!QFile::exists(target));
        QVERIFY(provideServerFile(temp.filePath("data"), shipped));
        QCOMPARE(readFile(target), QByteArray("shipped"));
        QVERIFY(QFile::permissions(target).testFlag(QFile::WriteOwner));
        // A file already there (downloaded since) is kept.
        QVERIFY(writeFile(target, "downloaded"));
        QVERIFY(provideServerFile(temp.filePath("data"), shipped));
        QCOMPARE(readFile(target), QByteArray("downloaded"));
    }
};

QTEST_GUILESS_MAIN(TestApp)
#include "tst_app.moc"
