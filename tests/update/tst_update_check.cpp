// The update check against an HTTP server of the test's own on loopback: the requests it
// sends, what each version file leads to, the server-file download, and responses that are
// wrong in every way.
#include "fake_launcher.h"
#include "fake_prompter.h"
#include "http_stub.h"
#include "platform/linux/system_launcher.h"
#include "update/update_check.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>

using namespace cvl;

namespace {

const QString kCaption = QStringLiteral("Chronvale Server - 2 clients");
const QString kNoUpdates = QStringLiteral("Chronvale Server Updater|No Updates Available.");
const QString kFileQuestion =
    QStringLiteral("Chronvale Update Available!|Would you like to update your CVL Server File?");
const QString kProgramQuestion =
    QStringLiteral("Chronvale Server AUTO Update Available!|Would you like to update your CVL "
                   "Server Edition?\r\nThe latest version is: 4.0.9");

// Six fields: the version is the second, the server file's size the fifth.
QByteArray versionFile(const QByteArray& version, const QByteArray& size) {
    return "CVL-:-" + version + "-:-x-:-y-:-" + size + "-:-z";
}

QByteArray response(const QByteArray& body, const QByteArray& length = {}) {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " +
           (length.isNull() ? QByteArray::number(body.size()) : length) + "\r\n\r\n" + body;
}

QByteArray request(const QByteArray& path) {
    return "GET " + path +
           " HTTP/1.1\r\nAccept: */*\r\nHost: 127.0.0.1\r\nReferer: Chronvale S v4.0.12\r\n"
           "User-Agent: Chronvale v4.0.12\r\n\r\n";
}

QList<QByteArray> split(const QByteArray& data, const QList<qsizetype>& cuts) {
    QList<QByteArray> chunks;
    qsizetype from = 0;
    for (const qsizetype cut : cuts) {
        chunks << data.mid(from, cut - from);
        from = cut;
    }
    return chunks << data.mid(from);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class FakeUpdateHost final : public UpdateHost {
public:
    [[nodiscard]] QString windowCaption() const override { return caption; }
    void setWindowCaption(const QString& text) override { caption = text; }
    [[nodiscard]] QString windowTitle() const override {
        return QStringLiteral("Chronvale Server");
    }
    void setCheckUpdateEnabled(bool on) override { enabled = on; }
    [[nodiscard]] bool checkUpdateEnabled() const override { return enabled; }
    void serverFileDownloaded() override { ++downloads; }

    QString caption = kCaption; // not the title: the updater must get the caption as changed
    bool enabled = false;       // the dialog disables the button while a check runs
    int downloads = 0;
};

struct Rig {
    [[nodiscard]] QString serverFile() const { return folder.filePath("QBK_CVLS4.CVL"); }
    void writeServerFile(const QByteArray& content) const {
        QFile file(serverFile());
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("cannot write the server file");
        }
    }

    QTemporaryDir folder;
    test::HttpStub stub;
    FakeUpdateHost host;
    test::FakePrompter prompter;
    test::FakeLauncher launcher;
    UpdateCheck check{host,        prompter, launcher, folder.path(), QStringLiteral("127.0.0.1"),
                      stub.port(), "4.0.12"};
};

} // namespace

class TstUpdateCheck : public QObject {
    Q_OBJECT

    std::unique_ptr<Rig> rig;

private slots:
    void init() { rig = std::make_unique<Rig>(); }
    void cleanup() { rig.reset(); }

    // Questions: P the program, F the server file. Outcome: what followed.
    void versionFileAnswers_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<qint64>("fileSize"); // -1: no server file
        QTest::addColumn<bool>("answer");
        QTest::addColumn<QString>("questions");
        QTest::addColumn<QString>("outcome");
        const auto row = [](const char* name, const QByteArray& body, qint64 size, bool answer,
                            const char* questions, const char* outcome) {
            QTest::newRow(name) << response(body) << size << answer << QString(questions)
                                << QString(outcome);
        };
        row("five fields ignored", "CVL-:-4.0.9-:-x-:-y-:-10", -1, true, "", "");
        row("same version and size, CR LF removed", versionFile("4.0.12", "1\r\n0"), 10, true, "",
            "enabled notice");
        row("4.0.9 newer than 4.0.12 as text, accepted", versionFile("4.0.9", "9"), 10, true, "P",
            "launched");
        row("newer declined, same size", versionFile("4.0.9", "10"), 10, false, "P", "enabled");
        row("newer declined, other size declined", versionFile("4.0.9", "10"), 11, false, "PF",
            "enabled");
        row("larger file, accepted", versionFile("4.0.12", "10"), 11, true, "F", "fetching");
        row("smaller file, declined", versionFile("4.0.12", "10"), 9, false, "F", "enabled");
        row("no server file: fetched unasked", versionFile("4.0.12", "10"), -1, false, "",
            "fetching notice");
        QTest::newRow("no blank line: the first three characters are skipped")
            << QByteArray("a-:-9.9-:-4.0.12-:-x-:-y-:-10-:-z") << 10LL << true << QString()
            << QString("enabled notice");
    }
    void versionFileAnswers() {
        QFETCH(QByteArray, data);
        QFETCH(qint64, fileSize);
        QFETCH(bool, answer);
        QFETCH(QString, questions);
        QFETCH(QString, outcome);
        Rig& r = *rig;
        if (fileSize >= 0) {
            r.writeServerFile(QByteArray(fileSize, 's'));
        }
        r.prompter.answer = answer;
        r.check.saveIT(data);
        QStringList asked;
        for (const QChar q : questions) {
            asked << (q == u'P' ? kProgramQuestion : kFileQuestion);
        }
        QCOMPARE(r.prompter.questions, asked);
        const bool launched = !r.launcher.started.isEmpty();
        if (launched) {
            QCOMPARE(r.launcher.started,
                     (QList<QStringList>{{r.folder.filePath("QBKUpdate"), "/v4.0.9",
                                          "/tUPDATEING Chronvale Server"}}));
        }
        QCOMPARE(r.host.caption, launched ? "UPDATEING Chronvale Server" : kCaption);
        QStringList seen;
        const std::pair<bool, const char*> states[] = {{launched, "launched"},
                                                       {r.check.serverFileWanted(), "fetching"},
                                                       {r.host.enabled, "enabled"},
                                                       {!r.prompter.notices.isEmpty(), "notice"}};
        for (const auto& [on, name] : states) {
            if (on) {
                seen << name;
            }
        }
        QCOMPARE(seen.join(u' '), outcome);
        if (!r.prompter.notices.isEmpty()) {
            QCOMPARE(r.prompter.notices, QStringList{kNoUpdates});
        }
    }

    void updaterScriptGetsVersionAndCaption() {
        const QString script = rig->folder.filePath("QBKUpdate");
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$0.args\"\n");
        file.close();
        QVERIFY(file.setPermissions(file.permissions() | QFile::ExeOwner));
        SystemLauncher launcher;
        UpdateCheck check(rig->host, rig->prompter, launcher, rig->folder.path(), "127.0.0.1",
                          rig->stub.port(), "4.0.12");
        check.saveIT(response(versionFile("4.0.9", "1")));
        QTRY_COMPARE(readFile(script + ".args"), "/v4.0.9\n/tUPDATEING Chronvale Server\n");
    }

    void missingServerFileDownloadedOnce() {
        Rig& r = *rig;
        const QByteArray first = QByteArray("first list\r\n").repeated(200);
        r.stub.serve({response(versionFile("4.0.12", "10"))});
        r.stub.serve(split(response(first), {100, 1200}));
        r.check.QBKUpdate();
        QTRY_COMPARE(r.host.downloads, 1);
        QCOMPARE(r.stub.requests, (QList<QByteArray>{request("/Chronvale/CVLVCS4.IPF"),
                                                     request("/Chronvale/QBK_CVLS4.CVL")}));
        QCOMPARE(readFile(r.serverFile()), first);
        QVERIFY(r.host.enabled);
        QVERIFY(r.prompter.questions.isEmpty());
        QCOMPARE(r.prompter.notices, QStringList{kNoUpdates});

        // Offered again and fetched, but the file is not reopened in this run.
        r.check.serverFileRead();
        r.host.enabled = false;
        r.stub.serve({response(versionFile("4.0.12", "10"))});
        r.stub.serve({response("second list")});
        r.check.QBKUpdate();
        QTRY_COMPARE(r.host.downloads, 2);
        QCOMPARE(r.stub.requests.size(), 4);
        QCOMPARE(r.prompter.questions, QStringList{kFileQuestion});
        QCOMPARE(r.prompter.notices.size(), 1);
        QCOMPARE(readFile(r.serverFile()), first);
        QVERIFY(r.host.enabled);
    }

    // 10000009 is read as 1000000; the old file's tail stays behind the new content.
    void lengthFromSevenCharactersFileNotTruncated() {
        rig->writeServerFile(QByteArray(1000010, 'Z'));
        rig->stub.serve({response(QByteArray(1000000, 'A'), "10000009")});
        rig->check.saveIT(response(versionFile("4.0.12", "1")));
        QTRY_COMPARE(rig->host.downloads, 1);
        QCOMPARE(readFile(rig->serverFile()), QByteArray(1000000, 'A') + QByteArray(10, 'Z'));
    }

    void socketErrorEnablesButton() {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        const quint16 port = closed.serverPort();
        closed.close();
        UpdateCheck check(rig->host, rig->prompter, rig->launcher, rig->folder.path(), "127.0.0.1",
                          port, "4.0.12");
        check.QBKUpdate();
        QTRY_VERIFY(rig->host.enabled);
        QVERIFY(rig->prompter.notices.isEmpty());
    }

    // Nothing completes, nothing is said, no other file appears; the next check starts over.
    void garbageLeavesCheckRunning_data() {
        QTest::addColumn<QList<QByteArray>>("chunks");
        QTest::addColumn<bool>("reset");
        QTest::addColumn<bool>("serverFile");
        const QByteArray body = versionFile("4.0.12", "10");
        QByteArray binary;
        for (int i = 0; i < 600; ++i) {
            binary += static_cast<char>(i * 37);
        }
        const struct {
            const char* name;
            QList<QByteArray> chunks;
            bool reset = false;
        } cases[] = {
            {"no headers", {body}},
            {"binary", {binary, binary}},
            {"no length", {"HTTP/1.1 200 OK\r\n\r\n" + body}},
            {"negative length", {response(body, "-5")}},
            {"eight-digit length", {response(body, "12345678")}},
            {"reset mid-body", {response(body, "500")}, true},
            {"longer than announced",
             {response(body + QByteArray(5000, 'x'), QByteArray::number(body.size())), body}},
        };
        for (const auto& c : cases) {
            for (const bool serverFile : {false, true}) {
                QTest::addRow("%s: %s", serverFile ? "server file" : "version file", c.name)
                    << c.chunks << c.reset << serverFile;
            }
        }
    }
    void garbageLeavesCheckRunning() {
        QFETCH(QList<QByteArray>, chunks);
        QFETCH(bool, reset);
        QFETCH(bool, serverFile);
        Rig& r = *rig;
        r.stub.serve(chunks, reset);
        if (serverFile) {
            r.check.saveIT(response(versionFile("4.0.12", "10"))); // no file: fetched at once
        } else {
            r.writeServerFile(QByteArray(10, 's'));
            r.check.QBKUpdate();
        }
        QTRY_COMPARE(r.stub.finished, 1);
        QTest::qWait(test::HttpStub::kChunkPauseMs);
        QCOMPARE(r.host.downloads, 0);
        QVERIFY(!r.host.enabled);
        QCOMPARE(r.prompter.notices.size(), serverFile ? 1 : 0);
        QCOMPARE(QDir(r.folder.path()).entryList(QDir::Files), QStringList{"QBK_CVLS4.CVL"});

        r.stub.serve({response(serverFile ? "list" : versionFile("4.0.12", "10"))});
        r.check.QBKUpdate();
        QTRY_VERIFY(r.host.enabled);
        QCOMPARE(r.host.downloads, serverFile ? 1 : 0);
        QCOMPARE(r.prompter.notices.size(), 1);
        QVERIFY(r.prompter.questions.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstUpdateCheck)
#include "tst_update_check.moc"
