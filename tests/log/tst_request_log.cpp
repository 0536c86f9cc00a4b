// The request log against a fake clock, with a temporary folder as the program folder.
#include "log/request_log.h"

#include "server_rig.h"

#include <QTest>

using namespace cvl;

namespace {

QStringList linesOf(const QString& path) {
    return QString::fromUtf8(test::readFile(path))
        .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
}

} // namespace

class TestRequestLog : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    test::FakeClock clock;

private slots:
    void init() {
        QVERIFY(QDir(dir.path()).removeRecursively() && QDir().mkpath(dir.path()));
        clock.set({2026, 11, 16, 23, 59, 59});
    }

    void newFileHasHeaderThenRecords() {
        RequestLog log(clock, dir.path(), "4.1.0", {2026, 11, 16, 8, 0, 1});
        log.setIdentity("host", "user", "10.0.0.1");
        log.CVLWLOG({}, "192.0.2.7", 123, 48, "NTPv4", "UDP");
        log.CVLWLOG("Monday, November 16, 2026 ", "192.0.2.8", -1, 26, "Daytime", "TCP");
        QCOMPARE(log.currentFilePath(), dir.path() + "/Logs/CVLS161126.LOG");
        QCOMPARE(test::readFile(log.currentFilePath()),
                 "#Software Service: Chronvale(SM) Server\r\n#Version: 4.1.0\r\n"
                 "#UPDate: 16 Nov 2026 08:00:01\r\n#Date: 16 Nov 2026 23:59:59\r\n"
                 "#Fields: date time c-ip cs-username s-sitename s-computername s-ip cs-method "
                 "cs-uri-stem cs-uri-query sc-status sc-win32-status sc-bytes cs-bytes time-taken "
                 "s-port cs-version cs(User-Agent) cs(Cookie) cs(Referer)\r\n"
                 "2026-11-16 23:59:59 192.0.2.7 - CVLS5 host user 10.0.0.1 GET TIME - 0 0 48 48 "
                 "0 123 NTPv4 UDP - \r\n"
                 "2026-11-16 23:59:59 192.0.2.8 - CVLS5 host user 10.0.0.1 GET TIME - 0 0 26 26 "
                 "0 -1 Daytime TCP - \r\n");
    }

    // Either way the next record finds no file and starts one with its own header.
    void nextRecordStartsNewFile_data() {
        QTest::addColumn<bool>("removeLogs");
        QTest::newRow("after local midnight") << false;
        QTest::newRow("Logs folder removed") << true;
    }
    void nextRecordStartsNewFile() {
        QFETCH(bool, removeLogs);
        RequestLog log(clock, dir.path(), "4.1.0", {});
        log.CVLWLOG({}, "192.0.2.7", 123, 48, "NTPv4", "UDP");
        if (removeLogs) {
            QVERIFY(QDir(dir.path() + "/Logs").removeRecursively());
        } else {
            clock.set({2026, 11, 17, 0, 0, 0});
        }
        log.CVLWLOG({}, "192.0.2.7", 123, 48, "NTPv4", "UDP");
        const QStringList lines =
            linesOf(dir.path() + (removeLogs ? "/Logs/CVLS161126.LOG" : "/Logs/CVLS171126.LOG"));
        QCOMPARE(lines.size(), 6);
        QCOMPARE(lines[3],
                 removeLogs ? "#Date: 16 Nov 2026 23:59:59" : "#Date: 17 Nov 2026 00:00:00");
        QVERIFY(lines[5].startsWith(removeLogs ? "2026-11-16 23:59:59 " : "2026-11-17 00:00:00 "));
    }

    // The bytes item: the total given, else what was sent; an NTP packet of another size is 0.
    void byteTotal() {
        const auto total = [this](const char* code, const char* text, int sentB, int iByteTot) {
            RequestLog log(clock, dir.path(), "4.1.0", {});
            log.CVLWLOG(text, "192.0.2.7", 123, sentB, code, "UDP", iByteTot);
            const QStringList items = linesOf(log.currentFilePath()).last().split(u' ');
            return items.size() == 21 ? items[14] : QString(); // the line ends in a blank
        };
        QCOMPARE(total("NTPv4", "", 0, 0), "0");
        QCOMPARE(total("NTPv4", "", 48, 0), "48");
        QCOMPARE(total("NTPv4", "", 0, 47), "47");
        QCOMPARE(total("NTPv4", "", 60, 47), "0");
        QCOMPARE(total("Daytime", "Monday, November 16, 2026 ", 26, 0), "26");
        QCOMPARE(total("Time", "abc", 4, 4), "4");
    }

    // Root may write anywhere, so the unwritable places are paths that cannot be folders.
    void recordIsLostSilently_data() {
        QTest::addColumn<QString>("programFolder");
        QTest::addColumn<QString>("fileInTheWay");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("disabled") << QString() << QString() << false;
        QTest::newRow("program folder is a file")
            << "/server.bin" << QString("/server.bin") << true;
        QTest::newRow("Logs is a file") << QString() << "/Logs" << true;
        QTest::newRow("program folder missing") << "/gone" << QString() << true;
    }
    void recordIsLostSilently() {
        QFETCH(QString, programFolder);
        QFETCH(QString, fileInTheWay);
        QFETCH(bool, enabled);
        QFile blocker(dir.path() + fileInTheWay);
        QVERIFY(fileInTheWay.isEmpty() || blocker.open(QIODevice::WriteOnly));
        RequestLog log(clock, dir.path() + programFolder, "4.1.0", {});
        log.setEnabled(enabled);
        log.CVLWLOG({}, "192.0.2.7", 123, 48, "NTPv4", "UDP");
        QVERIFY(!QFile::exists(log.currentFilePath()));
        QCOMPARE(QDir(dir.path()).exists("Logs"), fileInTheWay == "/Logs");
    }
};

QTEST_GUILESS_MAIN(TestRequestLog)
#include "tst_request_log.moc"
