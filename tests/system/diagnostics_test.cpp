// Failures the window leaves unsaid, said on standard error by the headless program: ports it
// has no right to, ports another socket holds, settings it cannot write back, a log folder that
// is not a folder. Each is said once, naming what failed and what to do; the status line stays
// as it always was.
#include "reference_responder.h"
#include "server_process.h"

#include <filesystem>

using namespace cvl;
using namespace std::chrono_literals;

namespace {

// How many lines of `text` contain `part`.
int linesWith(const std::string& text, const std::string& part) {
    int count = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        count += line.find(part) != std::string::npos ? 1 : 0;
    }
    return count;
}

// Both transports of a port, held by the test.
struct HeldPort {
    HeldPort(EventLoop& loop, std::uint16_t port)
        : tcp(loop)
        , udp(loop)
        , open(tcp.listen(port).open && udp.bind(port).open) {}
    StreamListener tcp;
    DatagramSocket udp;
    bool open;
};

class Diagnostics : public testing::Test {
protected:
    void TearDown() override {
        if (server.process.running()) {
            EXPECT_EQ(server.stop(), 0) << server.lastErrors();
        }
    }

    // Lets an unprivileged user into the test's folders.
    void openFoldersToEveryone() {
        namespace fs = std::filesystem;
        for (const std::string& folder :
             {server.dir.path(), server.dataDir(), server.dir.filePath("home")}) {
            fs::create_directories(folder);
            fs::permissions(folder, fs::perms::all);
        }
        for (const auto& entry : fs::recursive_directory_iterator(server.dir.path())) {
            fs::permissions(entry.path(), fs::perms::all);
        }
    }

    std::unique_ptr<EventLoop> loop = makeEventLoop();
    test::ReferenceResponder reference{*loop};
    test::ServerProcess server{*loop};
    test::Words referencePort{"--reference-port", std::to_string(reference.port())};
};

// Without the right to ports below 1024, each closed socket gets one line that names the
// service, the port and the capability missing; the rest of the server runs, and a settings
// file the operator made read-only is reported at shutdown instead of replaced.
TEST_F(Diagnostics, UnprivilegedStartOnLowPorts) {
    if (test::launched() || ::geteuid() != 0) {
        GTEST_SKIP() << "needs the Linux program, started by root so that it can drop the right";
    }
    const std::uint16_t client = test::freePort(*loop);
    test::writeServerFile(server.serverFile());
    ASSERT_TRUE(server.writeSettings({{"Settings", "NO:59:Minutes/s:NA:36"},
                                      {"NTP37", "YES:YES:YES:37"},
                                      {"DTS13", "YES:YES:YES:13"},
                                      {"SNTP123", "YES:YES:YES:123"},
                                      {"UNIX519", "YES:YES:NO:519"},
                                      {"CVL3777", "YES:YES:NO:" + std::to_string(client)}}));
    openFoldersToEveryone();
    const std::string saved = test::readFile(server.settingsPath());
    std::filesystem::permissions(server.settingsPath(), std::filesystem::perms::owner_read |
                                                            std::filesystem::perms::group_read |
                                                            std::filesystem::perms::others_read);
    const test::Words nobody{"setpriv",        "--reuid=65534",       "--regid=65534",
                             "--clear-groups", "--bounding-set=-all", "--inh-caps=-all"};
    ASSERT_TRUE(server.start(referencePort, nobody));
    ASSERT_TRUE(server.waitSynchronised()) << server.errors();

    const std::string errors = server.errors();
    for (const char* closed :
         {"(NTP37): cannot open TCP port 37", "(NTP37): cannot open UDP port 37",
          "(DTS13): cannot open TCP port 13", "(DTS13): cannot open UDP port 13",
          "(SNTP123): cannot open TCP port 123", "(SNTP123): cannot open UDP port 123",
          "(UNIX519): cannot open TCP port 519"}) {
        EXPECT_EQ(linesWith(errors, closed), 1) << closed << '\n' << errors;
    }
    EXPECT_EQ(linesWith(errors, "warning: "), 7) << errors;
    EXPECT_EQ(linesWith(errors, "Permission denied; ports below 1024 need root or the "
                                "CAP_NET_BIND_SERVICE capability"),
              7);
    EXPECT_EQ(linesWith(errors, "(CVL3777)"), 0) << "a port above 1023 opens";
    // The server itself goes on: the unprivileged port answers.
    test::LoopbackClient connection(*loop, client);
    EXPECT_TRUE(test::runUntil(
        *loop, [&] { return connection.connected; }, 2s));

    EXPECT_EQ(server.stop(), 0);
    const std::string atShutdown = server.errors().substr(errors.size());
    EXPECT_EQ(linesWith(atShutdown, "error: the settings could not be written"), 1) << atShutdown;
    EXPECT_EQ(test::readFile(server.settingsPath()), saved) << "a read-only file stays as it was";
}

// A port another socket holds is named on every service, whatever the status line says.
TEST_F(Diagnostics, PortsHeldByAnotherSocket) {
    const test::Ports ports = test::freePorts(*loop);
    std::vector<std::unique_ptr<HeldPort>> held;
    for (const std::uint16_t port : {ports.time, ports.daytime, ports.ntp, ports.unixTime}) {
        held.push_back(std::make_unique<HeldPort>(*loop, port));
        ASSERT_TRUE(held.back()->open);
    }
    ASSERT_TRUE(server.configure(ports));
    ASSERT_TRUE(server.start(referencePort));
    ASSERT_TRUE(server.waitSynchronised()) << server.errors();
    const std::string errors = server.errors();
    for (const auto& [setting, port] : std::initializer_list<std::pair<const char*, std::uint16_t>>{
             {"NTP37", ports.time}, {"DTS13", ports.daytime}, {"UNIX519", ports.unixTime}}) {
        for (const char* transport : {"TCP", "UDP"}) {
            const std::string line = std::string("(") + setting + "): cannot open " + transport +
                                     " port " + std::to_string(port);
            EXPECT_EQ(linesWith(errors, line), 1) << line << '\n' << errors;
        }
    }
    // The NTP port's TCP side is held; its UDP side too, and the query leaves from a port of
    // the system's choosing all the same.
    EXPECT_EQ(linesWith(errors, "(SNTP123): cannot open TCP port " + std::to_string(ports.ntp)), 1);
    // The status line, as ever, speaks of the Daytime service alone.
    EXPECT_EQ(linesWith(errors, "DAYTIME SERVICE SERVER ERROR - PORT: " +
                                    std::to_string(ports.daytime) + " invalid."),
              1)
        << errors;
}

// A log folder that is a file loses every record, and says so once.
TEST_F(Diagnostics, LogFolderThatIsAFile) {
    const test::Ports ports = test::freePorts(*loop);
    ASSERT_TRUE(server.configure(ports));
    ASSERT_TRUE(test::writeFile(server.dataDir() + "/Logs", "not a folder"));
    ASSERT_TRUE(server.start(referencePort));
    ASSERT_TRUE(server.waitSynchronised()) << server.errors();
    for (int request = 0; request < 5; ++request) {
        (void)test::udpExchange(*loop, ports.ntp, test::ntpRequest(request), 1, 1s);
    }
    EXPECT_EQ(server.stop(), 0);
    EXPECT_EQ(linesWith(server.errors(), "error: the request log cannot write"), 1)
        << server.errors();
    EXPECT_EQ(test::readFile(server.dataDir() + "/Logs"), "not a folder");
}

} // namespace
