// The listeners over real loopback sockets, driven as the operator's boxes drive them; and the
// controller's start-up and shutdown around the settings, the autostart entry and the server
// file.
#include "core/service_listeners.h"
#include "http_stub.h"
#include "loopback.h"
#include "reference_responder.h"
#include "server_rig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace cvl;
using namespace std::chrono_literals;
using enum ServiceId;
using test::LoopbackClient;
using test::ServerRig;

namespace {

std::string setting(const char* flags, std::uint16_t port) {
    return std::string(flags) + ':' + std::to_string(port);
}

// Which of a service's sockets are open: "tcp udp", "tcp -", "- udp" or "- -".
std::string openSockets(const ServiceListeners& listeners, ServiceId id) {
    return std::string(listeners.tcpListening(id) ? "tcp " : "- ") +
           (listeners.udpBound(id) ? "udp" : "-");
}

// What the diagnostics channel says, as "severity: text", about the topics whose reports
// contain `about`.
struct Reports {
    Reports(ServerController& server, std::string about)
        : about(std::move(about)) {
        server.diagnostics().setSink([this](Severity severity, const std::string& text) {
            if (text.find(this->about) != std::string::npos) {
                lines.push_back(std::string(severityName(severity)) + ": " + text);
            }
        });
    }
    std::string about;
    std::vector<std::string> lines;
};

void putServices(ServerRig& rig, std::uint16_t port) {
    rig.writeServerFile();
    test::MemorySettingsStore& store = rig.store;
    store.putHome("NTP37", setting("YES:YES:YES", port));
    store.putHome("SNTP123", "NO:YES:YES:123");
    store.putHome("UNIX519", "yes:YES:NO:519");
    store.putHome("CVL3777", "YES:YES:YES");
    store.putHome("DTS13", "NO:YES:YES:1313");
}

class Listeners : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(loop);
        port = test::freePort(*loop);
    }
    [[nodiscard]] std::string open(ServiceId id) const { return openSockets(*listeners, id); }
    bool runUntil(const std::function<bool()>& done) { return test::runUntil(*loop, done); }

    test::SkippingClock monotonic;
    std::unique_ptr<EventLoop> loop = makeEventLoop(monotonic);
    std::unique_ptr<ServiceListeners> listeners = std::make_unique<ServiceListeners>(*loop);
    std::uint16_t port = 0;
};

TEST_F(Listeners, BoxesFollowTheirRules) {
    listeners->applySetting(Time, setting("YES:YES:YES", port));
    listeners->tcpBoxClicked(Time, false);
    EXPECT_EQ(open(Time), "tcp udp"); // unticking TCP keeps the listener

    listeners->masterClicked(Time, false);
    EXPECT_EQ(open(Time), "- udp"); // the master box stops TCP only
    EXPECT_FALSE(listeners->controls(Time).transportBoxesEnabled());
    listeners->udpBoxClicked(Time, false); // disabled box: ignored
    EXPECT_TRUE(listeners->controls(Time).udp);

    listeners->masterClicked(Time, true);
    EXPECT_EQ(open(Time), "- udp"); // the TCP box was left unticked
    listeners->tcpBoxClicked(Time, true);
    EXPECT_EQ(open(Time), "tcp udp");
    listeners->udpBoxClicked(Time, false);
    EXPECT_EQ(open(Time), "tcp -");
}

TEST_F(Listeners, EnterRegistersTypedPort) {
    listeners->applySetting(Time, setting("YES:YES:NO", port));
    const std::uint16_t newPort = test::freePort(*loop);
    listeners->portTextChanged(Time, std::to_string(newPort));
    EXPECT_EQ(listeners->controls(Time).portToolTip, kPortChangedTip);
    listeners->portKeyPressed(Time, U'x');
    EXPECT_EQ(listeners->tcpArray(Time).listener().serverPort(), port);
    listeners->portKeyPressed(Time, 13);
    EXPECT_EQ(listeners->tcpArray(Time).listener().serverPort(), newPort);
    EXPECT_TRUE(listeners->udpBound(Time)) << "Enter opens UDP even with its box unticked";
    EXPECT_EQ(listeners->udpSocket(Time).localPort(), newPort);
    EXPECT_EQ(listeners->controls(Time).portToolTip, kPortRegisteredTip);

    // A disabled service only gets the tool tip; the client-protocol box has no handlers.
    listeners->portKeyPressed(Daytime, 13);
    EXPECT_EQ(open(Daytime), "- -");
    EXPECT_EQ(listeners->controls(Daytime).portToolTip, kPortRegisteredTip);
    listeners->portTextChanged(Client, "1");
    listeners->portKeyPressed(Client, 13);
    EXPECT_TRUE(listeners->controls(Client).portToolTip.empty());
}

TEST_F(Listeners, PortConflictsAndBadPorts) {
    StreamListener otherTcp(*loop);
    DatagramSocket otherUdp(*loop);
    ASSERT_TRUE(otherTcp.listen(port).open);
    ASSERT_TRUE(otherUdp.bind(port).open);

    std::vector<std::string> status, withdrawn;
    listeners->onStatusText = [&status](const std::string& text) {
        status.push_back(text);
    };
    listeners->onStatusTextWithdrawn = [&](const std::string& text) {
        withdrawn.push_back(text);
    };
    listeners->masterClicked(Daytime, true);
    listeners->portTextChanged(Daytime, std::to_string(port));
    listeners->portKeyPressed(Daytime, 13);
    EXPECT_EQ(open(Daytime), "- -");
    ASSERT_FALSE(status.empty());
    const std::string p = std::to_string(port);
    EXPECT_EQ(status.back(),
              "That address is already in use.  Please select a different port than " + p +
                  ".\rDAYTIME SERVICE SERVER ERROR - PORT: " + p + " invalid.");
    // The message is taken back once the Daytime sockets open on a free port.
    listeners->portTextChanged(Daytime, std::to_string(test::freePort(*loop)));
    listeners->portKeyPressed(Daytime, 13);
    EXPECT_EQ(open(Daytime), "tcp udp");
    ASSERT_EQ(withdrawn.size(), 1u);
    EXPECT_EQ(withdrawn.front(), status.back());
    // At start-up a port in use or out of range leaves the service closed, silently.
    status.clear();
    listeners->applySetting(Time, setting("YES:YES:YES", port));
    listeners->applySetting(Unix, "YES:YES:YES:40000");
    EXPECT_EQ(open(Time), "- -");
    EXPECT_EQ(open(Unix), "- -");
    EXPECT_TRUE(status.empty());

    // Letters give port 0: the system picks a free port.
    listeners->applySetting(Client, "YES:YES:NO:abc");
    EXPECT_TRUE(listeners->tcpListening(Client));
    EXPECT_NE(listeners->tcpArray(Client).listener().serverPort(), 0);
}

TEST_F(Listeners, NoClientAcceptedBeforeClockIsSet) {
    listeners->applySetting(Time, setting("YES:YES:NO", port));
    // Closed while the clock is set, another listener must not stay paused once reopened.
    const std::uint16_t unixPort = test::freePort(*loop);
    listeners->applySetting(Unix, setting("YES:YES:NO", unixPort));
    listeners->masterClicked(Unix, false);
    LoopbackClient early(*loop, port);
    ASSERT_TRUE(runUntil([&] { return early.connected; })); // the kernel's backlog holds it
    test::runFor(*loop, 200ms);
    EXPECT_EQ(listeners->tcpArray(Time).upperBound(), 0);
    EXPECT_EQ(listeners->requests(Time, Transport::Tcp).value(), 0);

    // Once the clock is set, that early client is let go unanswered; new ones are taken.
    listeners->setTimeSynced();
    EXPECT_TRUE(runUntil([&] { return early.closed; }));
    EXPECT_EQ(listeners->tcpArray(Time).upperBound(), 0);
    LoopbackClient later(*loop, port);
    EXPECT_TRUE(runUntil([&] { return listeners->tcpArray(Time).upperBound() == 1; }));
    EXPECT_EQ(listeners->requests(Time, Transport::Tcp).value(), 1);
    listeners->masterClicked(Unix, true);
    LoopbackClient reopened(*loop, unixPort);
    EXPECT_TRUE(runUntil([&] { return listeners->tcpArray(Unix).upperBound() == 1; }));
}

// A client quiet for the idle limit (30 s) is closed, one that talks is not, one that leaves is
// let go; the lowest closed socket takes the next client.
TEST_F(Listeners, ClientsClosedAndTheirSocketsReused) {
    listeners->setTimeSynced();
    listeners->applySetting(Client, setting("YES:YES:NO", port));
    std::vector<std::string> shown;
    listeners->onClientShown = [&shown](int, std::string_view address) {
        shown.emplace_back(address);
    };
    TcpSocketArray& array = listeners->tcpArray(Client);
    LoopbackClient quiet(*loop, port);
    auto talking = std::make_unique<LoopbackClient>(*loop, port);
    auto leaving = std::make_unique<LoopbackClient>(*loop, port);
    ASSERT_TRUE(runUntil([&] { return array.upperBound() == 3; }));
    EXPECT_EQ(listeners->requests(Client, Transport::Tcp).value(), 3);
    ASSERT_FALSE(shown.empty());
    EXPECT_TRUE(shown.back().starts_with("127.0.0.1:"));

    leaving.reset();
    test::skipAhead(*loop, monotonic, 25s);
    EXPECT_FALSE(quiet.closed) << "closed before its time";
    talking->write("x");
    test::runFor(*loop, 20ms);              // the server reads it in real time
    test::skipAhead(*loop, monotonic, 10s); // past the limit for the quiet one only
    EXPECT_TRUE(runUntil([&] { return quiet.closed; }));
    EXPECT_FALSE(talking->closed);
    talking.reset();
    EXPECT_TRUE(runUntil(
        [&] { return !array.at(1).isOpen() && !array.at(2).isOpen() && !array.at(3).isOpen(); }));
    EXPECT_EQ(array.freeIndex(), 1);
    LoopbackClient next(*loop, port);
    EXPECT_TRUE(runUntil([&] { return array.at(1).isOpen(); }));
    EXPECT_EQ(array.upperBound(), 3);
}

TEST(Controller, FirstStartWritesDefaultsInOrder) {
    ServerRig rig;
    // Writes fail, so the defaults are only attempted and no privileged port is opened.
    rig.store.failWrites = SettingsResult(SettingsStatus::AccessDenied);
    rig.writeServerFile();
    rig.server().start();
    EXPECT_EQ(
        rig.store.journal,
        (std::vector<std::string>{"set Settings=YES:59:Minutes/s:NA:36", "set NTP37=YES:YES:YES:37",
                                  "set SNTP123=YES:YES:YES:123", "set UNIX519=YES:YES:NO:519",
                                  "set CVL3777=YES:YES:NO:3777", "set DTS13=NO:YES:YES:13"}));
}

TEST(Controller, StartReadsAndShutdownWritesBackInOrder) {
    ServerRig rig;
    const std::uint16_t port = test::freePort(*rig.loop);
    putServices(rig, port);
    rig.store.putHome("Settings", "NO:5:Second/s:EU:28");
    rig.store.putHome("EnableLogging", "NO");
    rig.store.putHome("OpenMinimized", "YES");
    ServerController& server = rig.server();
    server.start();

    EXPECT_EQ(openSockets(server.listeners(), Time), "tcp udp");
    EXPECT_EQ(server.synchroniser().settings().syncN, "5");
    EXPECT_EQ(server.settings().sync.region, "EU");
    EXPECT_EQ(server.settings().ntpFirstByte, 28);
    EXPECT_TRUE(server.settings().openMinimized);
    EXPECT_TRUE(server.logEnabled()) << "every start logs";
    EXPECT_FALSE(server.settings().enableLogging);
    server.setEnableLogging(false);
    EXPECT_FALSE(server.logEnabled());
    server.setEnableLogging(true); // written back as the box says now

    rig.store.journal.clear();
    server.shutdown();
    EXPECT_EQ(openSockets(server.listeners(), Time), "- -");
    // Lower-case "yes" and a value of three fields leave a service off; a service left off
    // keeps its usual port.
    EXPECT_EQ(rig.store.journal,
              (std::vector<std::string>{"set Settings=NO:5:Second/s:EU:28", "set OpenMinimized=YES",
                                        "set EnableLogging=YES",
                                        "set NTP37=" + setting("YES:YES:YES", port),
                                        "set UNIX519=NO:NO:NO:519", "set SNTP123=NO:NO:NO:123",
                                        "set CVL3777=NO:NO:NO:3777", "set DTS13=NO:NO:NO:13"}));
    server.shutdown(); // a second call changes nothing
    EXPECT_EQ(rig.store.journal.size(), 8u);
}

// Ticking the box writes the entry at shutdown, unticking removes it, and a run that leaves
// the box alone keeps what is there. One store of entries across the runs.
TEST(Controller, RunEntryAcrossRuns) {
    test::FakeAutostart autostart;
    const auto run = [&](const std::vector<bool>& clicks) {
        ServerRig rig;
        putServices(rig, test::freePort(*rig.loop));
        rig.autostart = autostart;
        rig.server().start();
        const bool shownTicked = rig.server().runAtStartup();
        for (const bool on : clicks) {
            rig.server().setRunAtStartup(on);
        }
        rig.server().shutdown();
        autostart = rig.autostart;
        return shownTicked;
    };
    EXPECT_FALSE(run({}));
    EXPECT_EQ(autostart.writes, 0);
    EXPECT_FALSE(run({true}));
    EXPECT_TRUE(autostart.present);
    EXPECT_EQ(autostart.command, test::FakeHostInfo().command);
    EXPECT_TRUE(run({})); // untouched: still there
    EXPECT_TRUE(autostart.present);
    EXPECT_TRUE(run({false}));
    EXPECT_FALSE(autostart.present);
    EXPECT_FALSE(run({true, false}));
    EXPECT_FALSE(autostart.present);
    EXPECT_FALSE(run({false, true})); // switched back on in the same run
    EXPECT_TRUE(autostart.present);
}

TEST(Controller, MissingServerFileIsFetchedThenUsed) {
    ServerRig rig;
    test::HttpStub updates(*rig.loop);
    test::ReferenceResponder reference(*rig.loop);
    rig.options.updateHost = "127.0.0.1";
    rig.options.updatePort = updates.port();
    rig.options.referencePort = reference.port();
    rig.store.putHome("NTP37", setting("YES:YES:YES", test::freePort(*rig.loop)));
    rig.store.putHome("Settings", "NO:59:Minutes/s:NA:36");
    const std::string list = "h\r\nh\r\nh\r\nh\r\nh\r\n127.0.0.1:::Loopback NA:::2:::\r\n";
    const std::string record = "x-:-" + appVersion() + "-:-x-:-x-:-0-:-x";
    updates.serve({"HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(record.size()) +
                   "\r\n\r\n" + record});
    updates.serve({"HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(list.size()) + "\r\n\r\n",
                   list.substr(0, 20), list.substr(20)});

    const Reports reports(rig.server(), "reference-server file");

    rig.server().start();
    // Nothing read, nothing opened until the list is there.
    EXPECT_FALSE(rig.server().listeners().tcpListening(Time));
    EXPECT_EQ(reports.lines,
              std::vector<std::string>{"warning: the reference-server file " + rig.host.folder +
                                       "/QBK_CVLS4.CVL cannot be read: No such file or directory; "
                                       "asking the update server for it; nothing is synchronised "
                                       "or served until it comes"});
    EXPECT_TRUE(rig.runUntil([&] { return rig.server().status().synchronised(); }));
    EXPECT_EQ(updates.requests.size(), 2u);
    EXPECT_TRUE(rig.server().listeners().tcpListening(Time));
    EXPECT_TRUE(rig.server().status().checkUpdateEnabled());
    EXPECT_EQ(reports.lines.size(), 1u);
}

// A list without a single server is said once; a list with servers makes it news again.
TEST(Controller, ServerFileWithoutServersIsReported) {
    ServerRig rig;
    putServices(rig, test::freePort(*rig.loop));
    rig.writeServerFile({});
    const Reports reports(rig.server(), "reference-server file");
    const std::string warning = "warning: the reference-server file " + rig.host.folder +
                                "/QBK_CVLS4.CVL lists no server: the server has nothing to "
                                "synchronise from";
    rig.server().start();
    rig.server().readServerFile();
    EXPECT_EQ(reports.lines, std::vector<std::string>{warning});

    rig.writeServerFile();
    rig.server().readServerFile();
    rig.writeServerFile({});
    rig.server().readServerFile();
    EXPECT_EQ(reports.lines, (std::vector<std::string>{warning, warning}));
}

// Settings the store refuses at shutdown are one error, with where they live and the system's
// words, however many values failed.
TEST(Controller, FailedSaveAtShutdownIsReportedOnce) {
    ServerRig rig;
    putServices(rig, test::freePort(*rig.loop));
    const Reports reports(rig.server(), "settings");
    rig.server().start();
    rig.store.failWrites = SettingsResult(SettingsStatus::AccessDenied, 13, "Permission denied");
    rig.server().shutdown();
    EXPECT_EQ(rig.store.journal.size(), 8u);
    EXPECT_EQ(reports.lines,
              std::vector<std::string>{"error: the settings could not be written to memory: "
                                       "Permission denied; the changes of this run are lost"});
}

} // namespace
