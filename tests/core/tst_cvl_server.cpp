// The controller's start-up and shutdown around the settings: defaults on a first start,
// the write-back order, the start-with-the-system entry and the logging override.
#include "http_stub.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "test_ports.h"

#include <QTest>

using namespace cvl;
using test::ServerRig;

namespace {

void putServices(test::ServerRig& rig, quint16 port) {
    rig.writeServerFile();
    test::MemorySettingsStore& store = rig.store;
    const QString p = QString::number(port);
    store.putHome(QStringLiteral("NTP37"), "YES:YES:YES:" + p);
    store.putHome(QStringLiteral("SNTP123"), "NO:YES:YES:123");
    store.putHome(QStringLiteral("UNIX519"), "yes:YES:NO:519");
    store.putHome(QStringLiteral("CVL3777"), QStringLiteral("YES:YES:YES"));
    store.putHome(QStringLiteral("DTS13"), QStringLiteral("NO:YES:YES:13"));
}

} // namespace

class TestCvlServer : public QObject {
    Q_OBJECT
private slots:
    void firstStartWritesDefaultsInOrder() {
        ServerRig rig;
        // Writes fail, so the defaults are only attempted and no privileged port is opened.
        rig.store.failWrites = ERROR_ACCESS_DENIED;
        rig.writeServerFile();
        rig.server().start();
        QCOMPARE(rig.store.journal,
                 QStringList({"set Settings=YES:59:Minutes/s:NA:36", "set NTP37=YES:YES:YES:37",
                              "set SNTP123=YES:YES:YES:123", "set UNIX519=YES:YES:NO:519",
                              "set CVL3777=YES:YES:NO:3777", "set DTS13=NO:YES:YES:13"}));
    }

    void startReadsAndShutdownWritesBackInOrder() {
        ServerRig rig;
        const quint16 port = test::freePort();
        putServices(rig, port);
        rig.store.putHome(QStringLiteral("Settings"), QStringLiteral("NO:5:Second/s:EU:28"));
        rig.store.putHome(QStringLiteral("EnableLogging"), QStringLiteral("NO"));
        rig.store.putHome(QStringLiteral("OpenMinimized"), QStringLiteral("YES"));
        CVL_Server& server = rig.server();
        server.start();

        QVERIFY(server.listeners().tcpListening(ServiceId::Time));
        QVERIFY(server.listeners().udpBound(ServiceId::Time));
        QVERIFY2(!server.listeners().controls(ServiceId::Unix).master, "lower-case yes is off");
        QVERIFY2(!server.listeners().controls(ServiceId::Client).master, "three fields are off");
        QCOMPARE(server.syncControls().syncN, QStringLiteral("5"));
        QCOMPARE(server.RegionCode(), QStringLiteral("EU"));
        QCOMPARE(server.ntpFirstByte(), std::int16_t{28});
        QVERIFY(server.OpenMinimized());
        QVERIFY2(server.LogEnabled(), "every start logs");
        QVERIFY(!server.EnableLogging());

        rig.store.journal.clear();
        server.shutdown();
        QVERIFY(!server.listeners().tcpListening(ServiceId::Time));
        QVERIFY(!server.listeners().udpBound(ServiceId::Time));
        const QString p = QString::number(port);
        QCOMPARE(rig.store.journal,
                 QStringList({"set Settings=NO:5:Second/s:EU:28", "set OpenMinimized=YES",
                              "set EnableLogging=NO", "set NTP37=YES:YES:YES:" + p,
                              "set UNIX519=NO:NO:NO:519", "set SNTP123=NO:NO:NO:123",
                              "set CVL3777=NO:NO:NO:3777", "set DTS13=NO:NO:NO:13"}));
        server.shutdown(); // a second call changes nothing
        QCOMPARE(rig.store.journal.size(), 8);
    }

    void runEntryFollowsTwoFlags_data() {
        QTest::addColumn<bool>("entryAtStart");
        QTest::addColumn<int>("click"); // -1 none, 0 untick, 1 tick
        QTest::addColumn<int>("writes");
        QTest::addColumn<int>("removals");
        QTest::newRow("kept, untouched: rewritten") << true << -1 << 1 << 0;
        QTest::newRow("absent, untouched: nothing") << false << -1 << 0 << 0;
        QTest::newRow("kept, unticked: removed") << true << 0 << 0 << 1;
        QTest::newRow("absent, ticked: left alone") << false << 1 << 0 << 0;
    }
    void runEntryFollowsTwoFlags() {
        QFETCH(bool, entryAtStart);
        QFETCH(int, click);
        ServerRig rig;
        putServices(rig, test::freePort());
        rig.autostart.present = entryAtStart;
        rig.server().start();
        QCOMPARE(rig.server().RunAtStartup(), entryAtStart);
        if (click >= 0) {
            rig.server().setRunAtStartup(click == 1);
        }
        rig.server().shutdown();
        QTEST(rig.autostart.writes, "writes");
        QTEST(rig.autostart.removals, "removals");
        if (rig.autostart.writes > 0) {
            QCOMPARE(rig.autostart.command, rig.host.command);
        }
    }

    void missingServerFileIsFetchedThenUsed() {
        ServerRig rig;
        test::HttpStub updates;
        test::ReferenceResponder reference;
        rig.options.updateHost = QStringLiteral("127.0.0.1");
        rig.options.updatePort = updates.port();
        rig.options.referencePort = reference.port();
        const quint16 port = test::freePort();
        rig.store.putHome("NTP37", QString("YES:YES:YES:%1").arg(port));
        rig.store.putHome("Settings", "NO:59:Minutes/s:NA:36");
        const QByteArray list = "h\r\nh\r\nh\r\nh\r\nh\r\n127.0.0.1:::Loopback NA:::2:::\r\n";
        const QByteArray record = "x-:-" + CVL_Server::AppVersion().toLatin1() + "-:-x-:-x-:-0-:-x";
        updates.serve({"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(record.size()) +
                       "\r\n\r\n" + record});
        updates.serve(
            {"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(list.size()) + "\r\n\r\n",
             list.left(20), list.mid(20)});

        rig.server().start();
        // Nothing read, nothing opened until the list is there.
        QVERIFY(!rig.server().listeners().tcpListening(ServiceId::Time));
        QTRY_VERIFY(rig.server().TimeSynced());
        QCOMPARE(updates.requests.size(), 2);
        QVERIFY(updates.requests[1].startsWith("GET /Chronvale/QBK_CVLS4.CVL HTTP/1.1\r\n"));
        QCOMPARE(rig.prompter.notices,
                 QStringList{"Chronvale Server Updater|No Updates Available."});
        QVERIFY(rig.prompter.questions.isEmpty());
        QVERIFY(rig.server().listeners().tcpListening(ServiceId::Time));
        QVERIFY(rig.server().checkUpdateEnabled());
    }

    void loggingSwitchedOffInMemory() {
        ServerRig rig;
        putServices(rig, test::freePort());
        rig.server().start();
        rig.server().setEnableLogging(false);
        QVERIFY(!rig.server().LogEnabled());
        rig.server().shutdown();
        QCOMPARE(rig.store.home(QStringLiteral("EnableLogging")), QStringLiteral("NO"));
    }
};

QTEST_GUILESS_MAIN(TestCvlServer)
#include "tst_cvl_server.moc"
