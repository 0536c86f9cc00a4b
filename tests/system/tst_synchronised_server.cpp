// The built executable with a reference server of the test's own: nothing is served before
// the reference answers; afterwards every service answers on both transports, one log record
// per request, and real clients (chronyd -Q, rdate, socat, ntpdig) accept the answers. Each
// real client is skipped with a message when it is not installed.
#include "loopback_client.h"
#include "reference_responder.h"
#include "server_process.h"
#include "test_ports.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <cmath>
#include <unistd.h>

using namespace cvl;
using test::tcpExchange;
using test::udpExchange;

namespace {

// Clients never get the capability to set this machine's clock.
const QStringList kNoClockCapability{"--bounding-set", "-sys_time", "--inh-caps", "-sys_time",
                                     "--"};

struct Ports {
    quint16 time, daytime, ntp, unix;
};

void writeSettings(const QString& path, const Ports& ports) {
    QSettings ini(path, QSettings::IniFormat);
    ini.setValue("Settings", "NO:59:Minutes/s:NA:36");
    ini.setValue("NTP37", QString("YES:YES:YES:%1").arg(ports.time));
    ini.setValue("DTS13", QString("YES:YES:YES:%1").arg(ports.daytime));
    ini.setValue("SNTP123", QString("YES:YES:YES:%1").arg(ports.ntp));
    ini.setValue("UNIX519", QString("YES:YES:YES:%1").arg(ports.unix));
    ini.setValue("CVL3777", "NO:YES:NO:3777");
}

QByteArray ntpRequest(quint8 byte24) {
    QByteArray request(48, '\0');
    request[0] = 0x23;
    request[24] = static_cast<char>(byte24);
    request[47] = 1;
    return request;
}

// Runs a client to its end (bounded); its standard output and exit code.
std::pair<QByteArray, int> run(const QString& program, const QStringList& arguments,
                               const QByteArray& input = {}, int timeoutMs = 30000) {
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return {{}, -1};
    }
    return {process.readAllStandardOutput() + process.readAllStandardError(), process.exitCode()};
}

bool have(const char* tool) {
    return !QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty() ||
           !QStandardPaths::findExecutable(QString::fromLatin1(tool), {"/usr/sbin", "/sbin"})
                .isEmpty();
}

} // namespace

class TestSynchronisedServer : public QObject {
    Q_OBJECT

    test::ReferenceResponder reference;
    test::ServerProcess server;
    Ports ports{};
    QByteArray stderrSoFar;

    [[nodiscard]] QStringList logRecords() const {
        const QDir logs(server.dataDir() + QStringLiteral("/Logs"));
        QStringList records;
        for (const QString& name : logs.entryList({"CVLS*.LOG"})) {
            QFile file(logs.filePath(name));
            if (file.open(QIODevice::ReadOnly)) {
                const QStringList lines =
                    QString::fromUtf8(file.readAll()).split("\r\n", Qt::SkipEmptyParts);
                for (const QString& line : lines) {
                    if (!line.startsWith('#')) {
                        records << line;
                    }
                }
            }
        }
        return records;
    }

private slots:
    void initTestCase() {
        ports = {test::freePort(), test::freePort(), test::freePort(), test::freePort()};
        writeSettings(server.settingsPath(), ports);
        server.writeServerFile({QStringLiteral("127.0.0.1:::Loopback NA:::2:::")});
        reference.holding = true;
        QObject::connect(&server.process, &QProcess::readyReadStandardError,
                         [this] { stderrSoFar += server.process.readAllStandardError(); });
        server.start({"--reference-port", QString::number(reference.port())});
        QVERIFY(server.process.waitForStarted(5000));
        QTRY_COMPARE_WITH_TIMEOUT(reference.requests, 1, 5000);
    }

    void nothingIsServedBeforeTheReferenceAnswers() {
        QCOMPARE(tcpExchange(ports.time, {}, 300), QByteArray());
        QCOMPARE(udpExchange(ports.time, "x", 1, 300).size(), 0);
        QCOMPARE(udpExchange(ports.daytime, "x", 1, 300).size(), 0);
        QCOMPARE(udpExchange(ports.unix, "x", 1, 300).size(), 0);
        // Byte 24 set, so it is no answer to the server's own query; logged, not answered.
        QCOMPARE(udpExchange(ports.ntp, ntpRequest(7), 1, 300).size(), 0);

        reference.release();
        QTRY_VERIFY_WITH_TIMEOUT(stderrSoFar.contains("CVL Server is Synchronized."), 5000);
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
        const QString user =
            QString::fromLocal8Bit(qgetenv("USER").isEmpty() ? "root" : qgetenv("USER"));
        const auto [output, code] = run(
            "setpriv",
            kNoClockCapability +
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
            const auto [output, code] = run("setpriv", kNoClockCapability + QStringList{"rdate"} +
                                                           mode + QStringList{"127.0.0.1"});
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
                "socat", {"-T2", "-", QString("%1:127.0.0.1:%2").arg(transport).arg(ports.daytime)},
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
        if (run("ip", {"netns", "add", ns}).second != 0) {
            QSKIP("no network namespace available for port 123");
        }
        run("ip", {"netns", "exec", ns, "ip", "link", "set", "lo", "up"});
        QProcess responder;
        responder.start("ip", {"netns", "exec", ns, QCoreApplication::applicationFilePath(),
                               "--respond", "21999"});
        test::ServerProcess inside;
        Ports standard{test::freePort(), test::freePort(), 123, test::freePort()};
        writeSettings(inside.settingsPath(), standard);
        inside.writeServerFile({QStringLiteral("127.0.0.1:::Loopback NA:::2:::")});
        inside.process.setProgram("ip");
        inside.process.setArguments(
            QStringList{"netns", "exec", ns, QStringLiteral(CHRONVALE_SERVER_EXE)} +
            inside.safeArguments() + QStringList{"--reference-port", "21999"});
        QByteArray insideStderr;
        QObject::connect(&inside.process, &QProcess::readyReadStandardError,
                         [&] { insideStderr += inside.process.readAllStandardError(); });
        QTest::qWait(300); // the responder binds first
        inside.process.start();
        QTRY_VERIFY_WITH_TIMEOUT(insideStderr.contains("Synchronized"), 5000);

        const auto [output, code] =
            run("ip", QStringList{"netns", "exec", ns, "setpriv"} + kNoClockCapability +
                          QStringList{"ntpdig", "127.0.0.1"});
        inside.terminate();
        responder.kill();
        responder.waitForFinished();
        run("ip", {"netns", "delete", ns});
        QCOMPARE(code, 0);
        QVERIFY2(output.contains("127.0.0.1"), output.constData());
    }

    void cleanupTestCase() { QCOMPARE(server.terminate(), 0); }
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
