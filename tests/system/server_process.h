// Programs the system tests start: the built server, the way tests must start it (never allowed
// to set the clock, its settings, data and desktop folders inside a temporary directory), and
// the real clients run against it. Every wait is bounded, and only a process the test started
// is ever signalled.
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

// One child process, looked up on PATH. Its standard input is a file written up front, so that
// a child that never reads cannot block the test; its output and errors go to files of its own.
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
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool start(const Words& command, const std::string& input = {}) {
        const std::string in = files_.filePath("in"), out = files_.filePath("out"),
                          err = files_.filePath("err");
        if (command.empty() || !writeFile(in, input)) {
            return false;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0600);
        std::vector<char*> words;
        for (const std::string& word : command) {
            words.push_back(const_cast<char*>(word.c_str()));
        }
        words.push_back(nullptr);
        const bool started =
            ::posix_spawnp(&pid_, words[0], &actions, nullptr, words.data(), environ) == 0;
        posix_spawn_file_actions_destroy(&actions);
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
        return exited() ? status_ : -1;
    }
    // SIGTERM, then the exit code as wait() gives it.
    int terminate() {
        if (running()) {
            ::kill(pid_, SIGTERM);
        }
        return wait(std::chrono::seconds(10));
    }
    // What it has written so far.
    [[nodiscard]] std::string output() const { return readFile(files_.filePath("out")); }
    [[nodiscard]] std::string errors() const { return readFile(files_.filePath("err")); }

private:
    bool exited() {
        int status = 0;
        if (!reaped_ && pid_ > 0 && ::waitpid(pid_, &status, WNOHANG) == pid_) {
            reaped_ = true;
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return reaped_;
    }

    EventLoop& loop_;
    TempFolder files_;
    pid_t pid_ = -1;
    bool reaped_ = false;
    int status_ = -1;
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
    // the launcher. CHRONVALE_TEST_SERVER names another build of the server. env and the
    // wrappers exec what follows them, so the process signalled is the server itself.
    bool launch(const Words& arguments, const Words& wrapper = {}) {
        const char* chosen = std::getenv("CHRONVALE_TEST_SERVER");
        const std::string program =
            chosen != nullptr && *chosen != '\0' ? chosen : CHRONVALE_SERVER_EXE;
        return process.start(concat(
            {{"env", "CHRONVALE_NO_SET_CLOCK=1", "HOME=" + dir.filePath("home"),
              "XDG_CONFIG_HOME=" + dir.filePath("xdg"), "XDG_DATA_HOME=" + dir.filePath("share"),
              "XDG_RUNTIME_DIR=" + dir.filePath("runtime"), "WINEPREFIX=" + dir.filePath("wine")},
             wrapper,
             launcher(),
             {program},
             arguments}));
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
    [[nodiscard]] std::string errors() const { return process.errors(); }
    [[nodiscard]] std::string lastErrors() const {
        const std::string all = errors();
        return all.substr(all.size() - std::min<std::size_t>(all.size(), 2000));
    }

    EventLoop& loop;
    TempFolder dir;
    ChildProcess process; // last: it goes first, before the folder it writes into
};

} // namespace cvl::test
