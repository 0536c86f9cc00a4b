// The built executable under hostile load: floods of datagrams of every size, a thousand TCP
// clients at once behaving badly, running out of descriptors, and damaged settings and server
// files. It must keep serving, and give back the memory and descriptors afterwards.
#include "reference_responder.h"
#include "server_process.h"

#include <cstdio>
#include <netinet/in.h>
#include <random>
#include <sys/resource.h>
#include <sys/socket.h>

using namespace cvl;
using namespace std::chrono_literals;

namespace {

sockaddr_in loopbackPort(std::uint16_t port) {
    return {AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
}

int connectTo(std::uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in to = loopbackPort(port);
    ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    return fd;
}

// What /proc tells of the process: resident memory in kB, descriptors held, and CPU ticks
// spent (utime + stime, the 12th and 13th fields after the name in parentheses).
long residentKb(pid_t pid) {
    const std::string status = test::readFile("/proc/" + std::to_string(pid) + "/status");
    const std::size_t at = status.find("VmRSS:");
    return at == std::string::npos ? -1 : std::stol(status.substr(at + 6));
}
long descriptors(pid_t pid) {
    std::error_code error;
    const std::filesystem::directory_iterator fds("/proc/" + std::to_string(pid) + "/fd", error);
    return std::distance(fds, std::filesystem::directory_iterator());
}
long cpuTicks(pid_t pid) {
    const std::string stat = test::readFile("/proc/" + std::to_string(pid) + "/stat");
    long user = 0, system = 0;
    std::sscanf(stat.c_str() + std::min(stat.size(), stat.rfind(')') + 1),
                "%*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %ld %ld", &user, &system);
    return user + system;
}

class Robustness : public testing::Test {
protected:
    static void SetUpTestSuite() {
        // This test opens thousands of sockets of its own.
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    void TearDown() override {
        if (server) {
            EXPECT_EQ(server->stop(), 0) << server->lastErrors();
        }
    }

    void startServer(const test::Words& wrapper = {}) {
        server = std::make_unique<test::ServerProcess>(*loop);
        ASSERT_TRUE(server->configure(ports));
        ASSERT_TRUE(server->start({"--reference-port", std::to_string(reference.port())}, wrapper));
        ASSERT_TRUE(server->waitSynchronised()) << server->errors();
    }
    [[nodiscard]] pid_t pid() const { return server->process.pid(); }

    // An answer to an NTP request (which every service answers) within bounded retries.
    bool answersUdp(std::uint16_t port) {
        for (int attempt = 0; attempt < 10; ++attempt) {
            if (!test::udpExchange(*loop, port, test::ntpRequest(1), 1, 300ms).empty()) {
                return true;
            }
        }
        return false;
    }

    std::unique_ptr<EventLoop> loop = makeEventLoop();
    test::ReferenceResponder reference{*loop};
    test::Ports ports = test::freePorts(*loop);
    std::unique_ptr<test::ServerProcess> server;
};

TEST_F(Robustness, DatagramFloodOfEverySize) {
    ASSERT_NO_FATAL_FAILURE(startServer());
    const long baseline = test::launched() ? 1 : residentKb(pid());
    ASSERT_GT(baseline, 0);
    std::mt19937 random(11);
    std::string noise(1500, '\0');
    for (char& byte : noise) {
        byte = static_cast<char>(random());
    }
    std::uniform_int_distribution<std::size_t> size(0, noise.size());
    const int flood = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const std::uint16_t udpPorts[] = {ports.time, ports.daytime, ports.ntp, ports.unixTime};
    for (const std::uint16_t port : udpPorts) {
        const sockaddr_in to = loopbackPort(port);
        for (int i = 0; i < 100000; ++i) {
            ::sendto(flood, noise.data(), size(random), MSG_DONTWAIT,
                     reinterpret_cast<const sockaddr*>(&to), sizeof to);
        }
    }
    ::close(flood);
    for (const std::uint16_t port : udpPorts) {
        EXPECT_TRUE(answersUdp(port)) << port;
    }
#ifndef __SANITIZE_ADDRESS__ // AddressSanitizer holds freed memory back on purpose
    if (!test::launched()) {
        EXPECT_LT(residentKb(pid()), baseline + 4096) << "memory back near its baseline";
    }
#endif
}

TEST_F(Robustness, ThousandTcpClientsBehavingBadly) {
    ASSERT_NO_FATAL_FAILURE(startServer());
    const long baseline = test::launched() ? 1 : descriptors(pid());
    ASSERT_GT(baseline, 0);
    for (const std::uint16_t port :
         {ports.time, ports.daytime, ports.unixTime, ports.ntp, ports.client}) {
        std::vector<int> clients;
        for (int i = 0; i < 1000; ++i) {
            const int fd = connectTo(port);
            // Gone at once, reset, garbage then reset, garbage then staying, staying quiet.
            const int kind = i % 5;
            if (kind == 2 || kind == 3) {
                ::send(fd, "\x01\x02garbage", 9, MSG_NOSIGNAL);
            }
            if (kind == 1 || kind == 2) {
                const linger now{1, 0};
                ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
            }
            if (kind < 3) {
                ::close(fd);
            } else {
                clients.push_back(fd);
            }
        }
        test::runFor(*loop, 300ms);
        for (const int fd : clients) {
            ::close(fd);
        }
    }
    if (!test::launched()) {
        EXPECT_TRUE(test::runUntil(
            *loop, [&] { return descriptors(pid()) <= baseline + 2; }, 10s))
            << descriptors(pid()) << " descriptors, " << baseline << " before";
    }
    // Every service still answers in full. Under wine, whose loopback costs about a
    // millisecond a connection, the last backlogs are still being taken at this point.
    const auto within = test::launched() ? 10000ms : 1500ms;
    EXPECT_EQ(test::tcpExchange(*loop, ports.time, {}, within).size(), 4u);
    EXPECT_EQ(test::tcpExchange(*loop, ports.unixTime, {}, within).size(), 4u);
    // "Monday, November 16, 2026 ..."
    EXPECT_NE(test::tcpExchange(*loop, ports.daytime, {}, within).find(", 20"), std::string::npos);
    EXPECT_EQ(test::tcpExchange(*loop, ports.ntp, test::ntpRequest(1), within).size(), 48u);
    EXPECT_TRUE(answersUdp(ports.time));
}

TEST_F(Robustness, RunningOutOfDescriptors) {
    if (test::launched()) {
        GTEST_SKIP() << "prlimit and /proc need the server without CHRONVALE_TEST_LAUNCHER";
    }
    ASSERT_NO_FATAL_FAILURE(startServer({"prlimit", "--nofile=64:64", "--"}));
    // NTP clients that connect and say nothing hold a descriptor each until they go.
    std::vector<int> holders;
    for (int i = 0; i < 80; ++i) {
        holders.push_back(connectTo(ports.ntp));
    }
    test::runFor(*loop, 1000ms);
    // With no descriptor left the listener rests between attempts: a spinning process would
    // spend about 300 ticks in these 3 s.
    const long before = cpuTicks(pid());
    test::runFor(*loop, 3000ms);
    EXPECT_LT(cpuTicks(pid()) - before, 45) << "ticks spent with no descriptor left";
    for (const int fd : holders) {
        ::close(fd);
    }
    // Room again: the same listener takes a new client and answers it.
    EXPECT_EQ(test::tcpExchange(*loop, ports.ntp, test::ntpRequest(1), 3000ms).size(), 48u);
}

struct Damage {
    const char* name;
    std::string settings, registry; // the INI file's text, or the registry's value lines
    int serverLines;
    std::size_t lineLength;
    std::string windowsStatus = {}; // a status line the Windows program shows for it
};

void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

class DamagedFiles : public Robustness, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedFiles, NeverStopTheStart) {
    const Damage& damage = GetParam();
    server = std::make_unique<test::ServerProcess>(*loop);
    ASSERT_TRUE(server->writeSettings(damage.settings, damage.registry));
    // Loopback addresses only: the names are what is long.
    const std::string line =
        "127.0.0.1:::" + std::string(damage.lineLength - 20, 'a') + " NA:::2:::\r\n";
    std::string list;
    for (int i = 0; i < damage.serverLines; ++i) {
        list += line;
    }
    ASSERT_TRUE(test::writeFile(server->serverFile(), list));
    ASSERT_TRUE(server->start(
        {"--reference-port", std::to_string(reference.port()), "--update-server", "127.0.0.1:1"}));
    if (test::ServerProcess::onWindows() && !damage.windowsStatus.empty()) {
        EXPECT_TRUE(server->waitForError(damage.windowsStatus, 5s)) << server->lastErrors();
    }
    test::runFor(*loop, 700ms);
    EXPECT_TRUE(server->process.running()) << server->lastErrors();
}

// Settings of every shape: cut short, not text, of the wrong registry type, empty, numbers out
// of range, and longer than the registry read's buffer.
const test::Settings kOddValues{{"NTP37", ":::::::"},
                                {"SNTP123", "YES:YES:YES:99999999999999999999"},
                                {"UNIX519", "YES:YES:YES:-5"},
                                {"Settings", ""},
                                {"DTS13", std::string(2000, 'Y')}};

INSTANTIATE_TEST_SUITE_P(
    Robustness, DamagedFiles,
    testing::Values(Damage{"TruncatedSettings", "[General]\nNTP37=YES:YES",
                           "\"NTP37\"=\"YES:YES\"\r\n", 10, 40},
                    Damage{"BinarySettings", std::string("\x00\xff[\x01=\x02\n\xfe", 8),
                           "\"NTP37\"=hex:00,ff,5b,01\r\n\"Settings\"=dword:ffffffff\r\n"
                           "\"DTS13\"=hex(7):41,00,00,00\r\n",
                           10, 40},
                    Damage{"OddValues", test::ServerProcess::iniText(kOddValues),
                           test::ServerProcess::regLines(kOddValues), 10, 40,
                           "There is more data than the buffer has been allocated to hold."},
                    Damage{"HundredThousandServerLines", "", "", 100000, 40},
                    Damage{"TenMegabyteLines", "", "", 6, 10 * 1024 * 1024}),
    [](const testing::TestParamInfo<Damage>& info) { return std::string(info.param.name); });

} // namespace
