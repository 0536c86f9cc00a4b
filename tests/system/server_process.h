// Programs the system tests start: the built server, the way tests must start it (never allowed
// to set the clock, its settings, data and desktop folders inside a temporary directory), and
// the real clients run against it. Their output is read while the test's event loop runs,
// every wait is bounded, and only a process the test started is ever signalled.
#pragma once

#include "loopback.h"
#include "server_rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace cvl::test {

using Words = std::vector<std::string>;

inline Words concat(std::initializer_list<Words> parts) {
    Words all;
    for (const Words& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// CHRONVALE_TEST_LAUNCHER's words (e.g. wine), put before the server's path.
inline Words launcher() {
    const char* text = std::getenv("CHRONVALE_TEST_LAUNCHER");
    std::istringstream words(text != nullptr ? text : "");
    return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}
inline bool launched() {
    return !launcher().empty();
}

// One child process: its standard input given up front, its standard output and error
// collected whenever the loop runs.
class ChildProcess {
public:
    explicit ChildProcess(EventLoop& loop)
        : loop_(loop) {}
    ~ChildProcess() {
        if (running()) {
            ::kill(pid_, SIGKILL);
            for (int tries = 0; tries < 500 && !exited(); ++tries) {
                ::usleep(10000);
            }
        }
        for (Pipe& pipe : pipes_) {
            stopReading(pipe);
        }
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // `command` is looked up on PATH, and runs in this environment with `changes`
    // ("NAME=value") made to it. False when it cannot be started.
    bool start(const Words& command, const Words& changes = {}, const std::string& input = {}) {
        Words environment;
        for (char** entry = environ; *entry != nullptr; ++entry) {
            const std::string_view text = *entry;
            if (std::none_of(changes.begin(), changes.end(), [&](const std::string& change) {
                    return text.starts_with(change.substr(0, change.find('=') + 1));
                })) {
                environment.emplace_back(text);
            }
        }
        environment.insert(environment.end(), changes.begin(), changes.end());
        int in[2], out[2], err[2];
        if (command.empty() || input.size() >= 65536 || ::pipe2(in, O_CLOEXEC) != 0) {
            return false;
        }
        // Written before the start, so that a child that never reads cannot block the test.
        const bool ready =
            ::write(in[1], input.data(), input.size()) == static_cast<ssize_t>(input.size()) &&
            ::pipe2(out, O_CLOEXEC) == 0 && ::pipe2(err, O_CLOEXEC) == 0;
        ::close(in[1]);
        if (!ready) {
            ::close(in[0]);
            return false;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, err[1], 2);
        const auto pointers = [](const Words& words) {
            std::vector<char*> list;
            for (const std::string& word : words) {
                list.push_back(const_cast<char*>(word.c_str()));
            }
            list.push_back(nullptr);
            return list;
        };
        const bool started =
            ::posix_spawnp(&pid_, command[0].c_str(), &actions, nullptr, pointers(command).data(),
                           pointers(environment).data()) == 0;
        posix_spawn_file_actions_destroy(&actions);
        for (const int fd : {in[0], out[1], err[1]}) {
            ::close(fd);
        }
        collect(pipes_[0], out[0], output);
        collect(pipes_[1], err[0], errors);
        pid_ = started ? pid_ : -1;
        return started;
    }

    [[nodiscard]] pid_t pid() const { return pid_; }
    bool running() { return pid_ > 0 && !exited(); }
    // Its exit code (128 + the signal when one ended it), or -1 while it still runs at the end
    // of `limit`.
    int wait(std::chrono::milliseconds limit) {
        (void)runUntil(
            loop_, [this] { return exited(); }, limit);
        for (Pipe& pipe : pipes_) {
            readPipe(pipe); // all it wrote before it ended is there now
        }
        return exited() ? status_ : -1;
    }
    // SIGTERM, then the exit code as wait() gives it.
    int terminate() {
        if (running()) {
            ::kill(pid_, SIGTERM);
        }
        return wait(std::chrono::seconds(10));
    }

    std::string output, errors; // so far

private:
    bool exited() {
        int status = 0;
        if (!reaped_ && pid_ > 0 && ::waitpid(pid_, &status, WNOHANG) == pid_) {
            reaped_ = true;
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return reaped_;
    }
    struct Pipe {
        int fd = -1;
        std::string* text = nullptr;
        SocketWatch watch;
    };
    void collect(Pipe& pipe, int fd, std::string& text) {
        pipe.fd = fd;
        pipe.text = &text;
        ::fcntl(fd, F_SETFL, O_NONBLOCK);
        pipe.watch.start(loop_, fd, EventLoop::Readable, [&pipe](unsigned) { readPipe(pipe); });
    }
    // Whatever waits in the pipe; at its end it is closed, as it would be readable for ever.
    static void readPipe(Pipe& pipe) {
        char buffer[4096];
        ssize_t got = 0;
        while (pipe.fd >= 0 && (got = ::read(pipe.fd, buffer, sizeof buffer)) > 0) {
            pipe.text->append(buffer, static_cast<std::size_t>(got));
        }
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            stopReading(pipe);
        }
    }
    static void stopReading(Pipe& pipe) {
        pipe.watch.reset();
        if (pipe.fd >= 0) {
            ::close(std::exchange(pipe.fd, -1));
        }
    }

    EventLoop& loop_;
    pid_t pid_ = -1;
    bool reaped_ = false;
    int status_ = -1;
    Pipe pipes_[2]; // standard output, standard error
};

struct Ports {
    std::uint16_t time, daytime, ntp, unixTime, client;
};
inline Ports freePorts(EventLoop& loop) {
    return {freePort(loop), freePort(loop), freePort(loop), freePort(loop), freePort(loop)};
}

class ServerProcess {
public:
    explicit ServerProcess(EventLoop& eventLoop)
        : loop(eventLoop)
        , process(eventLoop) {
        std::filesystem::create_directories(dir.filePath("home"));
        std::filesystem::create_directories(dir.filePath("runtime"));
        std::filesystem::permissions(dir.filePath("runtime"), std::filesystem::perms::owner_all);
    }

    [[nodiscard]] std::string settingsPath() const { return dir.filePath("settings.conf"); }
    [[nodiscard]] std::string dataDir() const { return dir.filePath("data"); }
    [[nodiscard]] std::string serverFile() const { return dataDir() + "/QBK_CVLS4.CVL"; }
    [[nodiscard]] Words safeArguments() const {
        return {"--headless",   "--no-set-clock", "--settings",
                settingsPath(), "--data-dir",     dataDir()};
    }

    // Every service on both transports (the client protocol on TCP only) and one reference
    // server on loopback.
    void configure(const Ports& ports) {
        const auto line = [](const char* key, const char* flags, std::uint16_t port) {
            return std::string(key) + '=' + flags + ':' + std::to_string(port) + '\n';
        };
        writeFile(settingsPath(), "[General]\nSettings=NO:59:Minutes/s:NA:36\n" +
                                      line("NTP37", "YES:YES:YES", ports.time) +
                                      line("DTS13", "YES:YES:YES", ports.daytime) +
                                      line("SNTP123", "YES:YES:YES", ports.ntp) +
                                      line("UNIX519", "YES:YES:YES", ports.unixTime) +
                                      line("CVL3777", "YES:YES:NO", ports.client));
        writeServerFile(serverFile());
    }

    // The whole command line as given, after a `wrapper` command (prlimit, ip netns exec) and
    // the launcher. CHRONVALE_TEST_SERVER names another build of the server.
    bool launch(const Words& arguments, const Words& wrapper = {}) {
        const char* chosen = std::getenv("CHRONVALE_TEST_SERVER");
        const std::string program =
            chosen != nullptr && *chosen != '\0' ? chosen : CHRONVALE_SERVER_EXE;
        return process.start(
            concat({wrapper, launcher(), {program}, arguments}),
            {"CHRONVALE_NO_SET_CLOCK=1", "HOME=" + dir.filePath("home"),
             "XDG_CONFIG_HOME=" + dir.filePath("xdg"), "XDG_DATA_HOME=" + dir.filePath("share"),
             "XDG_RUNTIME_DIR=" + dir.filePath("runtime"), "WINEPREFIX=" + dir.filePath("wine")});
    }
    bool start(const Words& extra = {}, const Words& wrapper = {}) {
        return launch(concat({safeArguments(), extra}), wrapper);
    }

    bool waitForError(const std::string& text, std::chrono::milliseconds limit) {
        return runUntil(
            loop, [&] { return errors().find(text) != std::string::npos; }, limit);
    }
    // Whether its clock has been set from the reference within the time allowed.
    bool waitSynchronised() { return waitForError("Synchronized", std::chrono::seconds(5)); }
    [[nodiscard]] const std::string& errors() const { return process.errors; }
    [[nodiscard]] std::string lastErrors() const {
        return errors().substr(errors().size() - std::min<std::size_t>(errors().size(), 2000));
    }

    EventLoop& loop;
    TempFolder dir;
    ChildProcess process; // last: it goes first, before the folder it writes into
};

} // namespace cvl::test
