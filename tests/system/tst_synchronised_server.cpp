// The built executable with a reference server of the test's own: the listeners its settings
// enable, one copy per machine, status lines on standard error, nothing served before the
// reference answers; SIGUSR1 asks again; afterwards
// every service answers on both transports, one log record per request, real clients
// (chronyd -Q, rdate, socat, ntpdig) accept the answers, and SIGTERM writes the settings back.
// Each real client is skipped with a message when it is not installed. Also the command
// line's errors.
#include "reference_responder.h"
#include "server_process.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTimer>
#include <cmath>
#include <unistd.h>

using namespace cvl;
using test::ntpRequest;
using test::tcpExchange;
using test::udpExchange;

namespace {

// Clients never get the capability to set this machine's clock.
const QStringList kNoClockCapability{"setpriv",    "--bounding-set", "-sys_time",
                                     "--inh-caps", "-sys_time",      "--"};

// Runs a client to its end (bounded); its standard output and error, and its exit code.
std::pair<QByteArray, int> run(const QStringList& command, const QByteArray& input = {}) {
    QProcess process;
    process.start(command.first(), command.mid(1));
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        return {{}, -1};
    }
    return {process.readAllStandardOutput() + process.readAllStandardError(), process.exitCode()};
}

bool have(const char* tool) {
    return !QStandardPaths::findExecutable(tool).isEmpty() ||
           !QStandardPaths::findExecutable(tool, {"/usr/sbin", "/sbin"}).isEmpty();
}

} // namespace

class TestSynchronisedServer : public QObject {
    Q_OBJECT

    test::ReferenceResponder reference;
    test::ServerProcess server;
    test::Ports ports;

    [[nodiscard]] QStringList logRecords() const {
        const QDir logs(server.dataDir() + QStringLiteral("/Logs"));
        QStringList lines;
        for (const QString& name : logs.entryList({"CVLS*.LOG"})) {
            lines += QString::fromUtf8(test::readFile(logs.filePath(name)))
                         .split("\r\n", Qt::SkipEmptyParts);
        }
        return lines.filter(QRegularExpression("^[^#]"));
    }

private slots:
    void initTestCase() {
        server.configure(ports);
        reference.holding = true;
        // A first word that only looks like the hidden start is reported and passed over.
        server.process.start(
            server.process.program(),
            QStringList{"-RS"} + server.safeArguments() +
                QStringList{"--reference-port", QString::number(reference.port())});
        QVERIFY(server.process.waitForStarted(5000));
        QTRY_COMPARE_WITH_TIMEOUT(reference.requests, 1, 5000);
    }

    // Headless, standard error says what the window would show, each line once: the query
    // leaving, and five seconds later that nobody answered and what that means for clients.
    void statusLinesWhileTheReferenceIsSilent() {
        QTRY_VERIFY_WITH_TIMEOUT(server.errors.contains("No answer from 127.0.0.1 after 5 s"),
                                 8000);
        QVERIFY(server.errors.contains("ignoring what is not an option: -RS\n"));
        QVERIFY(server.errors.contains("\nChecking Time Server: Loopback NA\n"));
        QVERIFY(
            server.errors.contains("; clients are refused until the first answer; next try in 35"));
        QTest::qWait(1500);
        QCOMPARE(server.errors.count("Checking Time Server"), 1);
        QCOMPARE(server.errors.count("No answer from"), 1);
    }

    void nothingIsServedBeforeTheReferenceAnswers() {
        // The client protocol listens on TCP only, as its setting says: its port is taken for
        // TCP and free for UDP.
        QTcpServer tcp;
        QUdpSocket udp;
        QVERIFY(!tcp.listen(QHostAddress::Any, ports.client));
        QVERIFY(udp.bind(QHostAddress::Any, ports.client, QAbstractSocket::DontShareAddress));
        QCOMPARE(tcpExchange(ports.time, {}, 300), QByteArray());
        QCOMPARE(udpExchange(ports.time, "x", 1, 300).size(), 0);
        // Byte 24 set, so it is no answer to the server's own query; logged, not answered.
        QCOMPARE(udpExchange(ports.ntp, ntpRequest(7), 1, 300).size(), 0);

        reference.release();
        QVERIFY(server.waitSynchronised());
        QVERIFY(server.errors.contains("CVL Server is Synchronized."));
        QCOMPARE(logRecords().size(), 1);
    }

    void everyServiceAnswersOnBothTransports() {
        QCOMPARE(tcpExchange(ports.time).size(), 4);
        QCOMPARE(udpExchange(ports.time, {}, 4).size(), 4);
        QCOMPARE(tcpExchange(ports.unix).size(), 4);
        QCOMPARE(udpExchange(ports.unix, {}, 1).value(0).size(), 4);
        QVERIFY(tcpExchange(ports.daytime).contains(", "));
        QVERIFY(udpExchange(ports.daytime, {}, 1).value(0).contains(", "));
        QCOMPARE(tcpExchange(ports.ntp, ntpRequest(0)).size(), 48);
        const QByteArray reply = udpExchange(ports.ntp, ntpRequest(0), 1).value(0);
        QCOMPARE(reply.size(), 48);
        QCOMPARE(reply.mid(12, 4).toHex(), QByteArray("7f000001")); // the reference's address

        // The one record from before the answer, and one for each of the eight requests.
        QTRY_COMPARE(logRecords().size(), 9);
        const QStringList records = logRecords();
        for (const char* kind : {" Time TCP ", " Time UDP ", " UnixTime TCP ", " UnixTime UDP ",
                                 " DayTime TCP ", " DayTime UDP ", " NTPv4 TCP "}) {
            QCOMPARE(records.filter(QString::fromLatin1(kind)).size(), 1);
        }
        QCOMPARE(records.filter(" NTPv4 UDP ").size(), 2);
    }

    void chronydQueryModeSeesASmallOffset() {
        if (!have("chronyd")) {
            QSKIP("chronyd is not installed (Debian package chrony)");
        }
        const QString user = qEnvironmentVariable("USER", QStringLiteral("root"));
        const auto [output, code] =
            run(kNoClockCapability +
                QStringList{"chronyd", "-Q", "-t", "20", "-u", user,
                            QString("server 127.0.0.1 port %1 iburst maxsamples 4").arg(ports.ntp),
                            "pidfile " + server.dir.filePath("chronyd.pid")});
        const QRegularExpressionMatch match =
            QRegularExpression(R"(System clock wrong by (-?[0-9.]+) seconds)")
                .match(QString::fromUtf8(output));
        QVERIFY2(match.hasMatch(), output.constData());
        QVERIFY2(std::abs(match.captured(1).toDouble()) < 0.050, output.constData());
    }

    void rdateReadsTimeAndNtp() {
        if (!have("rdate")) {
            QSKIP("rdate is not installed");
        }
        // -p only prints; rdate is never run without it.
        for (const QStringList& mode :
             {QStringList{"-p", "-o", QString::number(ports.time)},
              QStringList{"-n", "-p", "-o", QString::number(ports.ntp)}}) {
            const auto [output, code] =
                run(kNoClockCapability + QStringList{"rdate"} + mode + QStringList{"127.0.0.1"});
            QCOMPARE(code, 0);
            QVERIFY2(output.contains(QByteArray::number(QDate::currentDate().year())),
                     output.constData());
        }
    }

    void socatReadsDaytime() {
        if (!have("socat")) {
            QSKIP("socat is not installed");
        }
        const QRegularExpression line(R"(^\w+, \w+ \d\d, \d{4} \d\d:\d\d:\d\d-.+$)");
        for (const char* transport : {"TCP", "UDP"}) {
            const auto [output, code] = run(
                {"socat", "-T2", "-", QString("%1:127.0.0.1:%2").arg(transport).arg(ports.daytime)},
                "x");
            QVERIFY2(line.match(QString::fromUtf8(output)).hasMatch(), output.constData());
            QVERIFY(!output.endsWith('\n'));
        }
    }

    void ntpdigInAPrivateNetwork() {
        if (!have("ntpdig")) {
            QSKIP("ntpdig is not installed (Debian package ntpsec-ntpdig)");
        }
        // ntpdig asks port 123 only: give it a network namespace of its own, where the server
        // and a reference responder (this program, started with --respond) live alone.
        const QString ns = QString("cvltest%1").arg(::getpid());
        if (run({"ip", "netns", "add", ns}).second != 0) {
            QSKIP("no network namespace available for port 123");
        }
        const QStringList inside{"ip", "netns", "exec", ns};
        run(inside + QStringList{"ip", "link", "set", "lo", "up"});
        QProcess responder;
        responder.start("ip", inside.mid(1) + QStringList{QCoreApplication::applicationFilePath(),
                                                          "--respond", "21999"});
        test::ServerProcess insideServer;
        test::Ports standard;
        standard.ntp = 123;
        insideServer.configure(standard);
        QTest::qWait(300); // the responder binds first
        insideServer.start({"--reference-port", "21999"}, inside);
        const bool synchronised = insideServer.waitSynchronised();
        const auto [output, code] =
            run(inside + kNoClockCapability + QStringList{"ntpdig", "127.0.0.1"});
        insideServer.terminate();
        responder.kill();
        responder.waitForFinished();
        run({"ip", "netns", "delete", ns});
        QVERIFY(synchronised);
        QCOMPARE(code, 0);
        QVERIFY2(output.contains("127.0.0.1"), output.constData());
    }

    // SIGUSR1 asks at once; a burst of them makes one query a tick.
    void syncRequestedBySignal() {
        const int before = reference.requests;
        const qsizetype results = server.errors.count("CVL Server is Synchronized.");
        for (int i = 0; i < 20; ++i) {
            ::kill(static_cast<pid_t>(server.process.processId()), SIGUSR1);
        }
        QTRY_VERIFY_WITH_TIMEOUT(server.errors.count("CVL Server is Synchronized.") > results,
                                 2000);
        QTest::qWait(1200);
        QVERIFY(reference.requests - before >= 1 && reference.requests - before <= 2);
    }

    // One copy per machine: a second start with folders of its own ends at once, touching
    // none of them.
    void oneCopyPerMachine() {
        test::ServerProcess second;
        second.process.start(second.process.program(), second.safeArguments());
        QVERIFY(second.process.waitForFinished(5000));
        QCOMPARE(second.process.exitCode(), 1);
        QVERIFY(second.errors.contains("already running"));
        QVERIFY(!QFile::exists(second.settingsPath()));
        QVERIFY(!QFile::exists(second.dataDir()));
    }

    void commandLineErrorsAndHelp() {
        test::ServerProcess server;
        QProcess& process = server.process;
        process.setArguments(server.safeArguments() << "--bogus");
        process.start();
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(server.errors.contains("unknown option: --bogus"));

        process.setArguments(server.safeArguments() << "--help");
        process.start();
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitCode(), 0);
        const QByteArray help = process.readAllStandardOutput();
        for (const char* option :
             {"-rs", "--headless", "--data-dir", "--settings", "--reference-port",
              "--update-server", "--no-set-clock", "--version", "--help"}) {
            QVERIFY2(help.contains(option), option);
        }
    }

    // SIGTERM writes the settings back as they were read; no autostart entry was asked for.
    void cleanupTestCase() {
        QCOMPARE(server.terminate(), 0);
        const QSettings ini(server.settingsPath(), QSettings::IniFormat);
        QCOMPARE(ini.value("NTP37").toString(), QString("YES:YES:YES:%1").arg(ports.time));
        QCOMPARE(ini.value("CVL3777").toString(), QString("YES:YES:NO:%1").arg(ports.client));
        QCOMPARE(ini.value("Settings").toString(), QStringLiteral("NO:59:Minutes/s:NA:36"));
        QCOMPARE(ini.value("EnableLogging").toString(), QStringLiteral("NO"));
        QVERIFY(!QFile::exists(server.dir.filePath("xdg/autostart/chronvale-server.desktop")));
    }
};

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    // Started as a reference server for another process, inside a namespace.
    if (argc == 3 && QByteArray(argv[1]) == "--respond") {
        test::ReferenceResponder responder(static_cast<quint16>(QByteArray(argv[2]).toUShort()));
        QTimer::singleShot(60000, &app, &QCoreApplication::quit); // never outlives its test
        return QCoreApplication::exec();
    }
    TestSynchronisedServer test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_synchronised_server.moc"
