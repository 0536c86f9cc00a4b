// The built executable against a reference server of the test's own: status lines on standard
// error, nothing served before the first answer, every service on both transports with one log
// record each, real clients taking the answers, SIGUSR1, one copy per machine, the command
// line's errors, and SIGTERM writing the settings back.
#include "reference_responder.h"
#include "server_process.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <netinet/in.h>
#include <numeric>
#include <regex>
#include <sys/socket.h>

using namespace cvl;
using namespace std::chrono_literals;
using test::Words;

namespace {

// Clients never get the capability to set this machine's clock.
const Words kNoClockCapability{"setpriv",    "--bounding-set", "-sys_time",
                               "--inh-caps", "-sys_time",      "--"};

// Where `tool` is installed, or "".
std::string where(const std::string& tool) {
    FILE* found = ::popen(("PATH=$PATH:/usr/sbin:/sbin command -v " + tool).c_str(), "r");
    char path[4096] = "";
    const bool read = found != nullptr && std::fgets(path, sizeof path, found) != nullptr;
    if (found != nullptr) {
        ::pclose(found);
    }
    return read ? std::string(path, std::strcspn(path, "\n")) : "";
}

// Whether a socket of `type` can be bound to `port` on every address right now.
bool canBind(int type, std::uint16_t port) {
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    const int on = 1;
    if (type == SOCK_STREAM) { // only a listener, not a connection closing, may stand in the way
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    }
    const sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_ANY)}, {}};
    const bool bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return bound;
}

std::size_t count(const std::string& text, const std::string& needle) {
    std::size_t found = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + 1)) {
        ++found;
    }
    return found;
}

double bigEndian(const std::string& bytes) {
    double value = 0;
    for (const char byte : bytes) {
        value = value * 256 + static_cast<unsigned char>(byte);
    }
    return value;
}

class SynchronisedServer : public testing::Test {
protected:
    // One server for the whole suite, started with its reference holding every answer back.
    struct Shared {
        std::unique_ptr<EventLoop> loop = makeEventLoop();
        test::ReferenceResponder reference{*loop};
        test::Ports ports = test::freePorts(*loop);
        test::ServerProcess server{*loop};
    };
    static inline std::unique_ptr<Shared> shared;

    static void SetUpTestSuite() {
        shared = std::make_unique<Shared>();
        Shared& s = *shared;
        ASSERT_TRUE(s.server.configure(s.ports));
        s.reference.holding = true;
        // A first word that only looks like the hidden start is reported and passed over.
        ASSERT_TRUE(s.server.launch(test::concat(
            {{"-RS"}, s.server.safeArguments(), {"--reference-port", port(s.reference.port())}})));
        ASSERT_TRUE(test::runUntil(
            *s.loop, [&] { return s.reference.requests > 0; }, 5s))
            << s.server.errors();
        ASSERT_EQ(s.reference.requests, 1);
    }
    static void TearDownTestSuite() { shared.reset(); }

    static std::string port(std::uint16_t number) { return std::to_string(number); }
    // The reference answers from now on; whether the server has set its clock by it.
    bool synchronise() {
        reference.release();
        return server.waitSynchronised();
    }
    // Runs a client to its end (bounded); its standard output and error, and its exit code.
    std::pair<std::string, int> run(const Words& command, const std::string& input = {}) {
        test::ChildProcess process(loop);
        const int code = process.start(command, input) ? process.wait(30s) : -1;
        return {process.output() + process.errors(), code};
    }
    [[nodiscard]] Words logRecords() const {
        Words records;
        std::error_code error;
        for (const auto& file : std::filesystem::directory_iterator(
                 std::filesystem::path(server.dataDir()) / "Logs", error)) {
            for (const std::string& line : test::readLines(file.path().string())) {
                if (!line.empty() && line[0] != '#') {
                    records.push_back(line);
                }
            }
        }
        return records;
    }
    // How many records hold `text`.
    [[nodiscard]] long recordsOf(const std::string& text) const {
        const Words records = logRecords();
        return std::count_if(records.begin(), records.end(), [&](const std::string& record) {
            return record.find(text) != std::string::npos;
        });
    }

    EventLoop& loop = *shared->loop;
    test::ReferenceResponder& reference = shared->reference;
    test::Ports& ports = shared->ports;
    test::ServerProcess& server = shared->server;
};

// Headless, standard error says what the window would show, each line once: the query
// leaving, and five seconds later that nobody answered and what that means for clients.
TEST_F(SynchronisedServer, StatusLinesWhileTheReferenceIsSilent) {
    ASSERT_TRUE(server.waitForError("No answer from 127.0.0.1 after 5 s", 8s)) << server.errors();
    for (const char* line :
         {"ignoring what is not an option: -RS\n", "\nChecking Time Server: Loopback NA\n",
          "; clients are refused until the first answer; next try in 35"}) {
        EXPECT_NE(server.errors().find(line), std::string::npos) << line;
    }
    test::runFor(loop, 1500ms);
    EXPECT_EQ(count(server.errors(), "Checking Time Server"), 1u) << server.errors();
    EXPECT_EQ(count(server.errors(), "No answer from"), 1u) << server.errors();
}

TEST_F(SynchronisedServer, NothingIsServedBeforeTheReferenceAnswers) {
    // The client protocol listens on TCP only, as its setting says: its port is taken for TCP
    // and free for UDP (other programs' tests may hold it for a moment).
    EXPECT_FALSE(canBind(SOCK_STREAM, ports.client));
    EXPECT_TRUE(test::runUntil(
        loop, [&] { return canBind(SOCK_DGRAM, ports.client); }, 2s));
    EXPECT_EQ(test::tcpExchange(loop, ports.time, {}, 300ms), "");
    EXPECT_TRUE(test::udpExchange(loop, ports.time, "x", 1, 300ms).empty());
    // Byte 24 set, so it is no answer to the server's own query; logged, not answered.
    EXPECT_TRUE(test::udpExchange(loop, ports.ntp, test::ntpRequest(7), 1, 300ms).empty());

    ASSERT_TRUE(synchronise()) << server.errors();
    EXPECT_NE(server.errors().find("CVL Server is Synchronized."), std::string::npos);
    EXPECT_EQ(logRecords().size(), 1u);
}

TEST_F(SynchronisedServer, EveryServiceAnswersOnBothTransportsAndIsLoggedOnce) {
    ASSERT_TRUE(synchronise()) << server.errors();
    const auto valid = [](const std::string& kind, const std::string& answer) {
        if (kind == "Time") { // this machine's seconds since 1900, most significant byte first
            const double now = static_cast<double>(std::time(nullptr)) + 2208988800.0;
            return answer.size() == 4 && std::abs(bigEndian(answer) - now) <= 2;
        }
        if (kind == "NTPv4") { // with the reference's address
            return answer.size() == 48 && answer.substr(12, 4) == std::string("\x7f\0\0\x01", 4);
        }
        return kind == "UnixTime" ? answer.size() == 4 : answer.find(", ") != std::string::npos;
    };
    const std::pair<std::string, std::uint16_t> services[] = {{"Time", ports.time},
                                                              {"UnixTime", ports.unixTime},
                                                              {"DayTime", ports.daytime},
                                                              {"NTPv4", ports.ntp}};
    const std::size_t recordsBefore = logRecords().size();
    std::map<std::string, long> before;
    for (const auto& [kind, port] : services) {
        SCOPED_TRACE(kind);
        for (const char* transport : {" TCP ", " UDP "}) {
            before[kind + transport] = recordsOf(' ' + kind + transport);
        }
        const std::string request = kind == "NTPv4" ? test::ntpRequest(0) : "";
        EXPECT_TRUE(valid(kind, test::tcpExchange(loop, port, request)));
        // Over UDP Time sends one datagram a byte.
        const std::size_t datagrams = kind == "Time" ? 4 : 1;
        const Words answer = test::udpExchange(loop, port, request, datagrams);
        EXPECT_EQ(answer.size(), datagrams);
        EXPECT_TRUE(valid(kind, std::accumulate(answer.begin(), answer.end(), std::string())));
    }
    // One record for each of the eight requests, and no more.
    test::runUntil(
        loop, [&] { return logRecords().size() >= recordsBefore + 8; }, 5s);
    test::runFor(loop, 200ms);
    EXPECT_EQ(logRecords().size(), recordsBefore + 8);
    for (const auto& [kind, count] : before) {
        EXPECT_EQ(recordsOf(' ' + kind) - count, 1) << kind;
    }
    // The day's file, CVLSddmmyy.LOG, starts with its header, and every line ends in CR LF.
    for (const auto& file :
         std::filesystem::directory_iterator(std::filesystem::path(server.dataDir()) / "Logs")) {
        EXPECT_TRUE(
            std::regex_match(file.path().filename().string(), std::regex(R"(CVLS\d{6}\.LOG)")))
            << file.path();
        const std::string log = test::readFile(file.path().string());
        EXPECT_TRUE(log.starts_with("#Software Service: Chronvale(SM) Server\r\n")) << log;
        EXPECT_EQ(count(log, "\n"), count(log, "\r\n"));
    }
}

// chronyd -Q, rdate, socat and ntpdig take the answers; a client that is not installed is left
// out. rdate only prints (-p): it is never run without it.
TEST_F(SynchronisedServer, RealClientsAcceptTheAnswers) {
    ASSERT_TRUE(synchronise()) << server.errors();
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    const std::string year = std::to_string(local.tm_year + 1900);
    const char* user = std::getenv("USER");
    const std::string daytime = R"(^\w+, \w+ \d\d, \d{4} \d\d:\d\d:\d\d-.+$)"; // no line end
    // ntpdig, a Python script, asks port 123 only: its lookup of that port is given ours.
    const std::string ntpdig = where("ntpdig");
    std::string python;
    std::istringstream(test::readFile(ntpdig).substr(2)) >> python; // after "#!"
    const std::string script = "import runpy, socket, sys\n"
                               "lookup = socket.getaddrinfo\n"
                               "socket.getaddrinfo = lambda host, port, *rest: lookup(host, " +
                               port(ports.ntp) + ", *rest)\nsys.argv = ['ntpdig', '127.0.0.1']\n" +
                               "runpy.run_path('" + ntpdig + "', run_name='__main__')\n";
    struct Client {
        std::string tool;
        Words command;
        std::string input, expected;
    };
    const Client clients[] = {
        {"chronyd",
         {"chronyd", "-Q", "-t", "20", "-u", user != nullptr ? user : "root",
          "server 127.0.0.1 port " + port(ports.ntp) + " iburst maxsamples 4",
          "pidfile " + server.dir.filePath("chronyd.pid")},
         "",
         R"(System clock wrong by -?0\.0[0-4]\d* seconds)"}, // less than 50 ms
        {"rdate", {"rdate", "-p", "-o", port(ports.time), "127.0.0.1"}, "", year},
        {"rdate", {"rdate", "-n", "-p", "-o", port(ports.ntp), "127.0.0.1"}, "", year},
        {"socat", {"socat", "-T2", "-", "TCP:127.0.0.1:" + port(ports.daytime)}, "x", daytime},
        {"socat", {"socat", "-T2", "-", "UDP:127.0.0.1:" + port(ports.daytime)}, "x", daytime},
        {"ntpdig", {python, "-c", script}, "", R"(\+/- [0-9.]+ 127\.0\.0\.1 s\d )"},
    };
    std::string missing;
    for (const Client& client : clients) {
        if (where(client.tool).empty()) {
            missing += ' ' + client.tool;
            continue;
        }
        // A request whose stamp falls in the last millisecond of a second goes unanswered on
        // purpose: a client that got nothing asks once more.
        const Words command = test::concat({kNoClockCapability, client.command});
        std::pair<std::string, int> result = run(command, client.input);
        if (result.second != 0) {
            result = run(command, client.input);
        }
        const auto& [output, code] = result;
        EXPECT_EQ(code, 0) << output;
        EXPECT_TRUE(std::regex_search(output, std::regex(client.expected)))
            << client.tool << ": " << output;
    }
    if (!missing.empty()) {
        GTEST_SKIP() << "not installed:" << missing
                     << " (Debian packages chrony, rdate, socat, ntpsec-ntpdig)";
    }
}

// SIGUSR1 asks at once; a burst of them makes one query a tick.
TEST_F(SynchronisedServer, SyncRequestedBySignal) {
    if (test::ServerProcess::onWindows()) {
        GTEST_SKIP() << "SIGUSR1 is asked of the Linux program only";
    }
    ASSERT_TRUE(synchronise()) << server.errors();
    const int before = reference.requests;
    const std::string result = "CVL Server is Synchronized.";
    const std::size_t results = count(server.errors(), result);
    for (int i = 0; i < 20; ++i) {
        ::kill(server.process.pid(), SIGUSR1);
    }
    EXPECT_TRUE(test::runUntil(
        loop, [&] { return count(server.errors(), result) > results; }, 2s));
    test::runFor(loop, 1200ms);
    EXPECT_GE(reference.requests - before, 1);
    EXPECT_LE(reference.requests - before, 2);
}

// One copy per machine: a second start with folders of its own ends at once, touching none
// of them.
TEST_F(SynchronisedServer, OneCopyPerMachine) {
    ASSERT_TRUE(server.process.running());
    test::ServerProcess second(loop);
    ASSERT_TRUE(second.start());
    EXPECT_EQ(second.process.wait(5s), 1);
    EXPECT_NE(second.errors().find("already running"), std::string::npos) << second.errors();
    EXPECT_FALSE(std::filesystem::exists(second.settingsPath()));
    EXPECT_FALSE(std::filesystem::exists(second.dataDir()));
}

TEST_F(SynchronisedServer, CommandLineErrorsAndHelp) {
    test::ServerProcess bogus(loop), help(loop);
    ASSERT_TRUE(bogus.start({"--bogus"}) && help.start({"--help"}));
    EXPECT_EQ(bogus.process.wait(5s), 2);
    EXPECT_NE(bogus.errors().find("unknown option: --bogus"), std::string::npos);
    EXPECT_EQ(help.process.wait(5s), 0);
    for (const char* option :
         {"-rs", "--headless", "--data-dir", "--settings", "--reference-port", "--update-server",
          "--no-set-clock", "--strict-sync", "--version", "--help"}) {
        EXPECT_NE(help.process.output().find(option), std::string::npos) << option;
    }
}

// Last, as it ends the server: a stop in order (SIGTERM; Ctrl+C on Windows) writes the
// settings back as they were read, with what they left out; no autostart entry was asked for.
TEST_F(SynchronisedServer, StoppingWritesTheSettingsBack) {
    ASSERT_EQ(server.stop(), 0) << server.lastErrors();
    std::map<std::string, std::string> saved = server.savedSettings();
    EXPECT_EQ(saved["NTP37"], "YES:YES:YES:" + port(ports.time));
    EXPECT_EQ(saved["CVL3777"], "YES:YES:NO:" + port(ports.client));
    EXPECT_EQ(saved["Settings"], "NO:59:Minutes/s:NA:36");
    EXPECT_EQ(saved["EnableLogging"], "NO");
    EXPECT_FALSE(server.autostartEntryExists());
}

} // namespace
