// The executable's command line: the exact "-rs" first word, options with values, and the
// errors that must stop the start.
#include "app/command_line.h"

#include <QTest>

using namespace cvl;

namespace {

CommandLineResult parse(const QStringList& words) {
    return parseCommandLine(QStringList{QStringLiteral("chronvale-server")} + words);
}

} // namespace

class TestCommandLine : public QObject {
    Q_OBJECT
private slots:
    void hiddenStartNeedsTheExactFirstWord_data() {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<bool>("hidden");
        QTest::newRow("first") << QStringList{"-rs", "--headless"} << true;
        QTest::newRow("not first") << QStringList{"words", "-rs"} << false;
        QTest::newRow("slash") << QStringList{"/rs"} << false;
        QTest::newRow("none") << QStringList{} << false;
    }
    void hiddenStartNeedsTheExactFirstWord() {
        QFETCH(QStringList, words);
        const CommandLineResult result = parse(words);
        QVERIFY(result.line);
        QTEST(result.line->startHidden, "hidden");
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

    void errors_data() {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QString>("error");
        QTest::newRow("unknown") << QStringList{"--frobnicate"} << "unknown option: --frobnicate";
        QTest::newRow("capital RS") << QStringList{"-RS"} << "unknown option: -RS";
        QTest::newRow("no value") << QStringList{"--settings"} << "option --settings needs a value";
        QTest::newRow("bad port") << QStringList{"--reference-port", "70000"}
                                  << "--reference-port: not a port number: 70000";
        QTest::newRow("bad server") << QStringList{"--update-server", ":80"}
                                    << "--update-server: expected HOST[:PORT], got :80";
    }
    void errors() {
        QFETCH(QStringList, words);
        const CommandLineResult result = parse(words);
        QVERIFY(!result.line);
        QTEST(result.error, "error");
    }
};

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_command_line.moc"
