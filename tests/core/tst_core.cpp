// The core of the server. The settings texts: the registry module, the value formats and the
// number parsing that port boxes and saved fields go through. The listeners over real loopback
// sockets: opening and closing by the operator's boxes, the Enter key, port conflicts, the gate
// before the clock is set, the idle limit, and reuse of closed sockets. The controller's
// start-up and shutdown around the settings: defaults on a first start, the write-back order,
// the start-with-the-system entry, the logging override, and a missing server file fetched
// before anything is opened.
#include "core/leading_number.h"
#include "core/registry.h"
#include "core/service_listeners.h"
#include "core/settings_values.h"
#include "http_stub.h"
#include "loopback.h"
#include "platform_fakes.h"
#include "reference_responder.h"
#include "server_rig.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>
#include <vector>

using namespace cvl;
using enum ServiceId;
using test::ServerRig;

namespace {

std::string setting(const char* flags, quint16 port) {
    return std::string(flags) + ':' + std::to_string(port);
}

std::unique_ptr<QTcpSocket> connectTo(quint16 port) {
    auto client = std::make_unique<QTcpSocket>();
    client->connectToHost(QHostAddress::LocalHost, port);
    return client;
}

// Which of a service's sockets are open: "tcp udp", "tcp -", "- udp" or "- -".
QString open(const ServiceListeners& listeners, ServiceId id) {
    return QString(listeners.tcpListening(id) ? "tcp " : "- ") +
           (listeners.udpBound(id) ? "udp" : "-");
}

void putServices(test::ServerRig& rig, quint16 port) {
    rig.writeServerFile();
    test::MemorySettingsStore& store = rig.store;
    const QString p = QString::number(port);
    store.putHome(QStringLiteral("NTP37"), "YES:YES:YES:" + p);
    store.putHome(QStringLiteral("SNTP123"), "NO:YES:YES:123");
    store.putHome(QStringLiteral("UNIX519"), "yes:YES:NO:519");
    store.putHome(QStringLiteral("CVL3777"), QStringLiteral("YES:YES:YES"));
    store.putHome(QStringLiteral("DTS13"), QStringLiteral("NO:YES:YES:1313"));
}

} // namespace

class TestCore : public QObject {
    Q_OBJECT

    test::QtDispatchedLoop dispatched;
    std::unique_ptr<ServiceListeners> listeners;
    quint16 port = 0;

    [[nodiscard]] QString open(ServiceId id) const { return ::open(*listeners, id); }

private slots:
    void init() {
        listeners = std::make_unique<ServiceListeners>(dispatched.loop);
        port = test::freePort();
    }

    void boxesFollowTheirRules() {
        listeners->applySetting(Time, setting("YES:YES:YES", port));
        listeners->tcpBoxClicked(Time, false);
        QCOMPARE(open(Time), "tcp udp"); // unticking TCP keeps the listener

        listeners->masterClicked(Time, false);
        QCOMPARE(open(Time), "- udp"); // the master box stops TCP only
        QVERIFY(!listeners->controls(Time).transportBoxesEnabled());
        listeners->udpBoxClicked(Time, false); // disabled box: ignored
        QVERIFY(listeners->controls(Time).udp);

        listeners->masterClicked(Time, true);
        QCOMPARE(open(Time), "- udp"); // the TCP box was left unticked
        listeners->tcpBoxClicked(Time, true);
        QCOMPARE(open(Time), "tcp udp");
        listeners->udpBoxClicked(Time, false);
        QCOMPARE(open(Time), "tcp -");
    }

    void enterRegistersTypedPort() {
        listeners->applySetting(Time, setting("YES:YES:NO", port));
        const quint16 newPort = test::freePort();
        const auto listening = [this] {
            return listeners->tcpArray(Time).listener().serverPort();
        };

        listeners->portTextChanged(Time, std::to_string(newPort));
        QCOMPARE(listeners->controls(Time).portToolTip, kPortChangedTip);
        listeners->portKeyPressed(Time, U'x');
        QCOMPARE(listening(), port);

        listeners->portKeyPressed(Time, 13);
        QCOMPARE(listening(), newPort);
        QVERIFY2(listeners->udpBound(Time), "Enter opens UDP even with its box unticked");
        QCOMPARE(listeners->udpSocket(Time).localPort(), newPort);
        QCOMPARE(listeners->controls(Time).portToolTip, kPortRegisteredTip);

        // A disabled service only gets the tool tip; the client-protocol box has no handlers.
        listeners->portKeyPressed(Daytime, 13);
        QCOMPARE(open(Daytime), "- -");
        QCOMPARE(listeners->controls(Daytime).portToolTip, kPortRegisteredTip);
        listeners->portTextChanged(Client, "1");
        listeners->portKeyPressed(Client, 13);
        QVERIFY(listeners->controls(Client).portToolTip.empty());
    }

    void portConflictsAndBadPorts() {
        QTcpServer otherTcp;
        QUdpSocket otherUdp;
        QVERIFY(otherTcp.listen(QHostAddress::Any, port));
        QVERIFY(otherUdp.bind(QHostAddress::Any, port, QAbstractSocket::DontShareAddress));

        std::vector<std::string> status;
        listeners->onStatusText = [&status](const std::string& text) {
            status.push_back(text);
        };
        listeners->masterClicked(Daytime, true);
        listeners->portTextChanged(Daytime, std::to_string(port));
        listeners->portKeyPressed(Daytime, 13);
        QCOMPARE(open(Daytime), "- -");
        QVERIFY(!status.empty());
        const std::string p = std::to_string(port);
        QCOMPARE(status.back(),
                 "That address is already in use.  Please select a different port than " + p +
                     ".\rDAYTIME SERVICE SERVER ERROR - PORT: " + p + " invalid.");
        // The message is taken back once the Daytime sockets open on a free port.
        std::vector<std::string> withdrawn;
        listeners->onStatusTextWithdrawn = [&withdrawn](const std::string& text) {
            withdrawn.push_back(text);
        };
        listeners->portTextChanged(Daytime, std::to_string(test::freePort()));
        listeners->portKeyPressed(Daytime, 13);
        QCOMPARE(open(Daytime), "tcp udp");
        QCOMPARE(withdrawn.size(), std::size_t{1});
        QCOMPARE(withdrawn.front(), status.back());
        // At start-up a port in use or out of range leaves the service closed, silently.
        status.clear();
        listeners->applySetting(Time, setting("YES:YES:YES", port));
        listeners->applySetting(Unix, "YES:YES:YES:40000");
        QCOMPARE(open(Time), "- -");
        QCOMPARE(open(Unix), "- -");
        QVERIFY(status.empty());

        // Letters give port 0: the system picks a free port.
        listeners->applySetting(Client, "YES:YES:NO:abc");
        QVERIFY(listeners->tcpListening(Client));
        QVERIFY(listeners->tcpArray(Client).listener().serverPort() != 0);
    }

    void noClientAcceptedBeforeClockIsSet() {
        listeners->applySetting(Time, setting("YES:YES:NO", port));
        // Closed while the clock is set, another listener must not stay paused once reopened.
        const quint16 unixPort = test::freePort();
        listeners->applySetting(Unix, setting("YES:YES:NO", unixPort));
        listeners->masterClicked(Unix, false);
        auto client = connectTo(port);
        QVERIFY(client->waitForConnected(2000)); // the kernel's backlog holds it
        QTest::qWait(200);
        QCOMPARE(listeners->tcpArray(Time).upperBound(), 0);
        QCOMPARE(listeners->tcpRequests(Time).value(), 0);

        // Once the clock is set, that early client is let go unanswered; new ones are taken.
        listeners->setTimeSynced();
        QTRY_COMPARE(client->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(listeners->tcpArray(Time).upperBound(), 0);
        auto later = connectTo(port);
        QTRY_COMPARE(listeners->tcpArray(Time).upperBound(), 1);
        QCOMPARE(listeners->tcpRequests(Time).value(), 1);
        listeners->masterClicked(Unix, true);
        auto reopened = connectTo(unixPort);
        QTRY_COMPARE(listeners->tcpArray(Unix).upperBound(), 1);
    }

    void quietClientsAreClosed() {
        listeners =
            std::make_unique<ServiceListeners>(dispatched.loop, std::chrono::milliseconds(300));
        listeners->setTimeSynced();
        listeners->applySetting(Client, setting("YES:YES:NO", port));
        auto quiet = connectTo(port);
        auto talking = connectTo(port);
        QTRY_COMPARE(listeners->tcpArray(Client).upperBound(), 2);
        for (int i = 0; i < 5; ++i) { // keeps talking across the limit
            QTest::qWait(100);
            talking->write("x");
        }
        QTRY_COMPARE(quiet->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(talking->state(), QAbstractSocket::ConnectedState);
    }

    void closedSocketsAreReused() {
        listeners->setTimeSynced();
        listeners->applySetting(Client, setting("YES:YES:NO", port));
        std::vector<std::string> shown;
        listeners->onClientShown = [&shown](int, std::string_view address) {
            shown.emplace_back(address);
        };
        TcpSocketArray& array = listeners->tcpArray(Client);
        std::vector<std::unique_ptr<QTcpSocket>> clients;
        for (int i = 0; i < 3; ++i) {
            clients.push_back(connectTo(port));
        }
        QTRY_COMPARE(array.upperBound(), 3);
        QCOMPARE(listeners->tcpRequests(Client).value(), 3);
        QVERIFY(shown.back().starts_with("127.0.0.1:"));

        clients.clear();
        const auto closed = [&](int i) {
            return !array.at(i).isOpen();
        };
        QTRY_VERIFY(closed(1) && closed(2) && closed(3));
        QCOMPARE(array.freeIndex(), 1);
        auto next = connectTo(port);
        QTRY_VERIFY(array.at(1).isOpen());
        QCOMPARE(array.upperBound(), 3);
    }

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
        putServices(rig, port);
        rig.store.putHome(QStringLiteral("Settings"), QStringLiteral("NO:5:Second/s:EU:28"));
        rig.store.putHome(QStringLiteral("EnableLogging"), QStringLiteral("NO"));
        rig.store.putHome(QStringLiteral("OpenMinimized"), QStringLiteral("YES"));
        CVL_Server& server = rig.server();
        server.start();

        QCOMPARE(::open(server.listeners(), Time), "tcp udp");
        QCOMPARE(server.syncControls().syncN, std::string("5"));
        QCOMPARE(server.RegionCode(), std::string("EU"));
        QCOMPARE(server.ntpFirstByte(), std::int16_t{28});
        QVERIFY(server.OpenMinimized());
        QVERIFY2(server.LogEnabled(), "every start logs");
        QVERIFY(!server.EnableLogging());
        server.setEnableLogging(false);
        QVERIFY(!server.LogEnabled());
        server.setEnableLogging(true); // written back as the box says now

        rig.store.journal.clear();
        server.shutdown();
        QCOMPARE(::open(server.listeners(), Time), "- -");
        const QString p = QString::number(port);
        // Lower-case "yes" and a value of three fields leave a service off; a service left off
        // keeps its usual port.
        QCOMPARE(rig.store.journal,
                 QStringList({"set Settings=NO:5:Second/s:EU:28", "set OpenMinimized=YES",
                              "set EnableLogging=YES", "set NTP37=YES:YES:YES:" + p,
                              "set UNIX519=NO:NO:NO:519", "set SNTP123=NO:NO:NO:123",
                              "set CVL3777=NO:NO:NO:3777", "set DTS13=NO:NO:NO:13"}));
        server.shutdown(); // a second call changes nothing
        QCOMPARE(rig.store.journal.size(), 8);
    }

    // Ticking the box writes the entry at shutdown, unticking removes it, and a run that
    // leaves the box alone keeps what is there. One store of entries across the runs.
    void runEntryAcrossRuns() {
        test::FakeAutostart autostart;
        const auto run = [&](std::vector<bool> clicks) {
            ServerRig rig;
            putServices(rig, port);
            rig.autostart = autostart;
            rig.server().start();
            const bool shownTicked = rig.server().RunAtStartup();
            for (const bool on : clicks) {
                rig.server().setRunAtStartup(on);
            }
            rig.server().shutdown();
            autostart = rig.autostart;
            return shownTicked;
        };
        QVERIFY(!run({}));
        QCOMPARE(autostart.writes, 0);
        QVERIFY(!run({true}));
        QVERIFY(autostart.present);
        QCOMPARE(autostart.command, test::FakeHostInfo().command);
        QVERIFY(run({})); // untouched: still there
        QVERIFY(autostart.present);
        QVERIFY(run({false}));
        QVERIFY(!autostart.present);
        QVERIFY(!run({true, false}));
        QVERIFY(!autostart.present);
        QVERIFY(!run({false, true})); // switched back on in the same run
        QVERIFY(autostart.present);
    }

    void missingServerFileIsFetchedThenUsed() {
        ServerRig rig;
        test::HttpStub updates;
        test::ReferenceResponder reference;
        rig.options.updateHost = QStringLiteral("127.0.0.1");
        rig.options.updatePort = updates.port();
        rig.options.referencePort = reference.port();
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
        QVERIFY(!rig.server().listeners().tcpListening(Time));
        QTRY_VERIFY(rig.server().TimeSynced());
        QCOMPARE(updates.requests.size(), 2);
        QVERIFY(rig.server().listeners().tcpListening(Time));
        QVERIFY(rig.server().checkUpdateEnabled());
    }
};

QTEST_GUILESS_MAIN(TestCore)
#include "tst_core.moc"
