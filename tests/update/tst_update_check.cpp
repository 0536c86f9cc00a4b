// The update check against an HTTP server of the test's own on loopback: the requests it
// sends, what each version file leads to, the server-file download, and responses that are
// wrong in every way.
#include "http_stub.h"
#include "loopback.h"
#include "platform/linux/system_launcher.h"
#include "server_rig.h"
#include "update/update_check.h"

using namespace cvl;
using test::readFile;
using test::writeFile;

namespace {

const QString kNoUpdates = QStringLiteral("Chronvale Server Updater|No Updates Available.");
const QString kFileQuestion =
    QStringLiteral("Chronvale Update Available!|Would you like to update your CVL Server File?");
const QString kProgramQuestion =
    QStringLiteral("Chronvale Server AUTO Update Available!|Would you like to update your CVL "
                   "Server Edition?\r\nThe latest version is: 4.0.9");
const QByteArray kSame = "CVL-:-4.0.12-:-x-:-y-:-10-:-z"; // six fields: version, then size fifth

QByteArray response(const QByteArray& body, const QByteArray& length = {}) {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " +
           (length.isNull() ? QByteArray::number(body.size()) : length) + "\r\n\r\n" + body;
}

QByteArray request(const QByteArray& path) {
    return "GET " + path +
           " HTTP/1.1\r\nAccept: */*\r\nHost: 127.0.0.1\r\nReferer: Chronvale S v4.0.12\r\n"
           "User-Agent: Chronvale v4.0.12\r\n\r\n";
}

// The windows and the controller as the check sees them, and everything around the check.
struct Rig final : UpdateHost {
    explicit Rig(Launcher* updater = nullptr, quint16 port = 0)
        : check(dispatched.loop, *this, prompter, updater ? *updater : launcher, folder.path(),
                "127.0.0.1", port ? port : stub.port(), "4.0.12") {}
    [[nodiscard]] QString windowCaption() const override { return caption; }
    void setWindowCaption(const QString& text) override { caption = text; }
    [[nodiscard]] QString windowTitle() const override { return "Chronvale Server"; }
    void setCheckUpdateEnabled(bool on) override { enabled = on; }
    [[nodiscard]] bool checkUpdateEnabled() const override { return enabled; }
    void serverFileDownloaded() override { ++downloads; }
    [[nodiscard]] QString serverFile() const { return folder.filePath("QBK_CVLS4.CVL"); }

    // Starts a check whose last response is `chunks`: the version file's, or with
    // `serverFile` the download's that follows a version file when no server file is there.
    void checkWithBrokenResponse(bool serverFile, const QByteArrayList& chunks,
                                 bool reset = false) {
        if (serverFile)
            stub.serve({response(kSame)}); // no file: fetched at once
        else
            writeFile(this->serverFile(), QByteArray(10, 's'));
        stub.serve(chunks, reset);
        check.QBKUpdate();
    }

    // What was asked and said (P and F the program and server-file questions), then the state.
    [[nodiscard]] QString outcome() const {
        const QHash<QString, QString> names{
            {kProgramQuestion, "P"}, {kFileQuestion, "F"}, {kNoUpdates, "notice"}};
        QStringList seen;
        for (const QString& text : prompter.questions + prompter.notices)
            seen << names.value(text, text);
        seen << (launcher.started.isEmpty() ? "" : "launched")
             << (check.serverFileWanted() ? "wanted" : "") << (enabled ? "enabled" : "")
             << (downloads ? QString::number(downloads) + " downloaded" : "");
        seen.removeAll({});
        return seen.join(u' ');
    }

    QString caption = "Chronvale Server - 2 clients"; // the updater gets the caption as changed
    bool enabled = false; // the dialog disables the button while a check runs
    int downloads = 0;
    QTemporaryDir folder;
    test::QtDispatchedLoop dispatched;
    test::HttpStub stub;
    test::FakePrompter prompter;
    test::FakeLauncher launcher;
    UpdateCheck check;
};

} // namespace

class TstUpdateCheck : public QObject {
    Q_OBJECT

private slots:
    void versionFileAnswers() {
        const auto answers = [](const QByteArray& data, int fileSize, bool answer) {
            Rig r;
            writeFile(r.serverFile(), QByteArray(fileSize, 's'));
            r.prompter.answer = answer;
            r.check.saveIT(data);
            return r.outcome();
        };
        QCOMPARE(answers(response("CVL-:-4.0.9-:-x-:-y-:-10"), 9, true), ""); // five fields
        // "4.0.9" is newer than "4.0.12" as text.
        QCOMPARE(answers(response("CVL-:-4.0.9-:-x-:-y-:-9-:-z"), 10, true), "P launched");
        QCOMPARE(answers(response("CVL-:-4.0.9-:-x-:-y-:-10-:-z"), 11, false), "P F enabled");
        QCOMPARE(answers(response(kSame), 9, true), "F wanted");
        // Same version and size, CR LF removed; without a blank line three characters are skipped.
        QCOMPARE(answers("a-:-9.9-:-4.0.12-:-x-:-y-:-1\r\n0-:-z", 10, true), "notice enabled");
    }

    void updaterScriptGetsVersionAndCaption() {
        SystemLauncher launcher;
        Rig r(&launcher);
        const QString script = r.folder.filePath("QBKUpdate");
        writeFile(script, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$0.args\"\n");
        QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
        r.check.saveIT(response("CVL-:-4.0.9-:-x-:-y-:-1-:-z"));
        QTRY_COMPARE(readFile(script + ".args"), "/v4.0.9\n/tUPDATEING Chronvale Server\n");
        QCOMPARE(r.caption, "UPDATEING Chronvale Server");
    }

    void missingServerFileDownloadedOnce() {
        Rig r;
        const QByteArray list = QByteArray("first list\r\n").repeated(200);
        const QByteArray first = response(list);
        r.stub.serve({response(kSame)});
        r.stub.serve({first.left(100), first.mid(100, 1100), first.mid(1200)});
        r.check.QBKUpdate();
        QTRY_COMPARE(r.outcome(), "notice wanted enabled 1 downloaded");
        QCOMPARE(r.stub.requests, (QList<QByteArray>{request("/Chronvale/CVLVCS4.IPF"),
                                                     request("/Chronvale/QBK_CVLS4.CVL")}));
        QCOMPARE(readFile(r.serverFile()), list);

        // Offered again and fetched, but the file is not reopened in this run.
        r.check.serverFileRead();
        r.enabled = false;
        r.stub.serve({response(kSame)});
        r.stub.serve({response("second list")});
        r.check.QBKUpdate();
        QTRY_COMPARE(r.outcome(), "F notice wanted enabled 2 downloaded");
        QCOMPARE(readFile(r.serverFile()), list);
    }

    // 10000009 is read as 1000000; the old file's tail stays behind the new content.
    void lengthFromSevenCharactersFileNotTruncated() {
        Rig r;
        writeFile(r.serverFile(), QByteArray(1000010, 'Z'));
        r.stub.serve({response(QByteArray(1000000, 'A'), "10000009")});
        r.check.saveIT(response(kSame));
        QTRY_COMPARE(r.downloads, 1);
        QCOMPARE(readFile(r.serverFile()), QByteArray(1000000, 'A') + QByteArray(10, 'Z'));
    }

    // A refused connection and a reset from the server both end the check: the button comes
    // back, nothing is said. An orderly close mid-body does not (below).
    void socketErrorEnablesButton() {
        Rig refused(nullptr, test::freePort());
        refused.check.QBKUpdate();
        QTRY_COMPARE(refused.outcome(), "enabled");

        for (const bool serverFile : {false, true}) {
            Rig r;
            r.checkWithBrokenResponse(serverFile, {response(kSame, "500")}, true);
            QTRY_COMPARE(r.outcome(), serverFile ? "notice wanted enabled" : "enabled");
        }
    }

    // Nothing completes, nothing is said, no other file appears; the next check starts over.
    void garbageLeavesCheckRunning_data() {
        QTest::addColumn<QByteArrayList>("chunks");
        QTest::newRow("no length") << QByteArrayList{"HTTP/1.1 200 OK\r\n\r\n" + kSame};
        QTest::newRow("closed mid-body") << QByteArrayList{response(kSame, "500")};
        QTest::newRow("longer than announced")
            << QByteArrayList{response(kSame + "xx", QByteArray::number(kSame.size())), kSame};
    }
    void garbageLeavesCheckRunning() {
        QFETCH(QByteArrayList, chunks);
        for (const bool serverFile : {false, true}) {
            Rig r;
            r.checkWithBrokenResponse(serverFile, chunks);
            QTRY_COMPARE(r.stub.finished, serverFile ? 2 : 1);
            QTest::qWait(test::HttpStub::kChunkPauseMs);
            QCOMPARE(r.outcome(), serverFile ? "notice wanted" : "");
            QCOMPARE(QDir(r.folder.path()).entryList(QDir::Files), QStringList{"QBK_CVLS4.CVL"});

            r.stub.serve({response(serverFile ? "list" : kSame)});
            r.check.QBKUpdate();
            QTRY_COMPARE(r.outcome(),
                         serverFile ? "notice wanted enabled 1 downloaded" : "notice enabled");
        }
    }
};

QTEST_GUILESS_MAIN(TstUpdateCheck)
#include "tst_update_check.moc"
