// The built executable over real loopback sockets: the listeners its settings enable, one
// copy per settings file, the command line's errors, and settings written back on SIGTERM.
#include "server_process.h"
#include "test_ports.h"

#include <QFile>
#include <QSettings>
#include <QTcpSocket>
#include <QTest>

using namespace cvl;
using test::kernelHasSocket;

class TestExecutable : public QObject {
    Q_OBJECT
private slots:
    void servesWhatSettingsEnableAndWritesThemBack() {
        test::ServerProcess server;
        const quint16 timePort = test::freePort();
        const quint16 unixPort = test::freePort();
        const quint16 daytimePort = test::freePort();
        {
            QSettings ini(server.settingsPath(), QSettings::IniFormat);
            ini.setValue("NTP37", QString("YES:YES:YES:%1").arg(timePort));
            ini.setValue("UNIX519", QString("YES:YES:NO:%1").arg(unixPort));
            ini.setValue("DTS13", QString("NO:YES:YES:%1").arg(daytimePort));
            ini.setValue("SNTP123", "NO:YES:YES:123");
            ini.setValue("CVL3777", "NO:YES:NO:3777");
            ini.setValue("Settings", "NO:30:Second/s:EU:36");
        }
        // A reference nobody answers at: the server stays unsynchronised.
        server.writeServerFile({QStringLiteral("127.0.0.1:::Loopback EU:::2:::")});
        server.start({QStringLiteral("--reference-port"), QString::number(test::freePort())});
        QVERIFY(server.process.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(kernelHasSocket(true, unixPort), 5000);
        QVERIFY(kernelHasSocket(true, timePort));
        QVERIFY(kernelHasSocket(false, timePort));
        QVERIFY(!kernelHasSocket(false, unixPort));
        QVERIFY(!kernelHasSocket(true, daytimePort));
        QVERIFY(!kernelHasSocket(false, daytimePort));

        // Its clock has not been set from a reference yet: a client is left waiting.
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, timePort);
        QVERIFY(client.waitForConnected(2000));
        QVERIFY(!client.waitForReadyRead(300));

        test::ServerProcess second;
        second.process.setArguments(server.safeArguments());
        second.process.start();
        QVERIFY(second.process.waitForFinished(5000));
        QCOMPARE(second.process.exitCode(), 1);
        QVERIFY(second.process.readAllStandardError().contains("already running"));

        QCOMPARE(server.terminate(), 0);
        QSettings ini(server.settingsPath(), QSettings::IniFormat);
        QCOMPARE(ini.value("NTP37").toString(), QString("YES:YES:YES:%1").arg(timePort));
        QCOMPARE(ini.value("UNIX519").toString(), QString("YES:YES:NO:%1").arg(unixPort));
        QCOMPARE(ini.value("DTS13").toString(), QStringLiteral("NO:NO:NO:13"));
        QCOMPARE(ini.value("Settings").toString(), QStringLiteral("NO:30:Second/s:EU:36"));
        QCOMPARE(ini.value("EnableLogging").toString(), QStringLiteral("NO"));
        QVERIFY(!QFile::exists(server.dir.filePath("xdg/autostart/chronvale-server.desktop")));
    }

    void commandLineErrorsAndHelp() {
        test::ServerProcess server;
        server.process.setArguments({QStringLiteral("--bogus")});
        server.process.start();
        QVERIFY(server.process.waitForFinished(5000));
        QCOMPARE(server.process.exitCode(), 2);
        QVERIFY(server.process.readAllStandardError().contains("unknown option: --bogus"));

        server.process.setArguments({QStringLiteral("--help")});
        server.process.start();
        QVERIFY(server.process.waitForFinished(5000));
        QCOMPARE(server.process.exitCode(), 0);
        const QByteArray help = server.process.readAllStandardOutput();
        for (const char* option :
             {"-rs", "--headless", "--data-dir", "--settings", "--reference-port",
              "--update-server", "--no-set-clock", "--version", "--help"}) {
            QVERIFY2(help.contains(option), option);
        }
    }
};

QTEST_GUILESS_MAIN(TestExecutable)
#include "tst_executable.moc"
