// Programs the system tests start: the built server, the way tests must start it (never allowed
// to set the clock, its settings, data and desktop folders inside a temporary directory), and
// the real clients run against it. Every wait is bounded, and only a process the test started
// is ever signalled.
#pragma once

#include "loopback.h"
#include "platform/ini_file.h"
#include "server_rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <map>
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

// A server's settings as name and text, in the order written.
using Settings = std::vector<std::pair<std::string, std::string>>;

// The built server. A Windows build (a .exe, run by the launcher under wine) keeps its settings
// in the registry of the wine prefix the tests were given, where the one-copy mutex lives too;
// the Linux program in its INI file.
class ServerProcess {
public:
    explicit ServerProcess(EventLoop& eventLoop)
        : loop(eventLoop)
        , process(eventLoop) {
        std::filesystem::create_directories(dir.filePath("home"));
        std::filesystem::create_directories(dir.filePath("runtime"));
        std::filesystem::permissions(dir.filePath("runtime"), std::filesystem::perms::owner_all);
    }

    // CHRONVALE_TEST_SERVER names another build of the server.
    static std::string program() {
        const char* chosen = std::getenv("CHRONVALE_TEST_SERVER");
        return chosen != nullptr && *chosen != '\0' ? chosen : CHRONVALE_SERVER_EXE;
    }
    static bool onWindows() { return program().ends_with(".exe"); }
    // A path of this machine as the server names it: wine shows the root as drive Z:.
    static std::string serverPath(const std::string& path) {
        return onWindows() ? "Z:" + path : path;
    }

    [[nodiscard]] std::string settingsPath() const { return dir.filePath("settings.conf"); }
    [[nodiscard]] std::string dataDir() const { return dir.filePath("data"); }
    [[nodiscard]] std::string serverFile() const { return dataDir() + "/QBK_CVLS4.CVL"; }
    [[nodiscard]] Words safeArguments() const {
        return {"--headless",   "--no-set-clock", "--settings",
                settingsPath(), "--data-dir",     serverPath(dataDir())};
    }

    // Every service on both transports (the client protocol on TCP only) and one reference
    // server on loopback.
    bool configure(const Ports& ports) {
        const auto flags = [](const char* which, std::uint16_t port) {
            return std::string(which) + ':' + std::to_string(port);
        };
        writeServerFile(serverFile());
        return writeSettings({{"Settings", "NO:59:Minutes/s:NA:36"},
                              {"NTP37", flags("YES:YES:YES", ports.time)},
                              {"DTS13", flags("YES:YES:YES", ports.daytime)},
                              {"SNTP123", flags("YES:YES:YES", ports.ntp)},
                              {"UNIX519", flags("YES:YES:YES", ports.unixTime)},
                              {"CVL3777", flags("YES:YES:NO", ports.client)}});
    }
    // The settings the next start reads, and nothing else.
    bool writeSettings(const Settings& settings) {
        return writeSettings(iniText(settings), regLines(settings));
    }
    // Settings as the INI file's text (none written when empty) or, on Windows, the registry
    // key's value lines as a .reg file has them.
    bool writeSettings(const std::string& ini, const std::string& reg) {
        return onWindows() ? importRegistry(reg) : ini.empty() || writeFile(settingsPath(), ini);
    }
    static std::string iniText(const Settings& settings) {
        std::string ini = "[General]\n";
        for (const auto& [name, text] : settings) {
            ini += name + '=' + text + '\n';
        }
        return ini;
    }
    static std::string regLines(const Settings& settings) {
        std::string reg;
        for (const auto& [name, text] : settings) {
            reg += regText(name) + '=' + regText(text) + "\r\n";
        }
        return reg;
    }
    // The settings as the server left them: its INI file, or its registry key's string values.
    [[nodiscard]] std::map<std::string, std::string> savedSettings() {
        if (!onWindows()) {
            return ini::parse(readFile(settingsPath()));
        }
        // Lines of "    NAME    REG_SZ    TEXT".
        std::map<std::string, std::string> values;
        std::istringstream lines(runWine({"reg", "query", kKey}).first);
        const std::string type = "    REG_SZ    ";
        for (std::string line; std::getline(lines, line);) {
            const std::size_t at = line.find(type);
            if (line.starts_with("    ") && at != std::string::npos) {
                std::string text = line.substr(at + type.size());
                if (!text.empty() && text.back() == '\r') {
                    text.pop_back();
                }
                values[line.substr(4, at - 4)] = text;
            }
        }
        return values;
    }
    // Whether the server asked to start with the system.
    [[nodiscard]] bool autostartEntryExists() {
        if (!onWindows()) {
            return std::filesystem::exists(dir.filePath("xdg/autostart/chronvale-server.desktop"));
        }
        return runWine({"reg", "query",
                        "HKEY_LOCAL_MACHINE\\SOFTWARE\\MICROSOFT\\WINDOWS\\"
                        "CURRENTVERSION\\RUN",
                        "/v", "Chronvale Server"})
                   .second == 0;
    }

    // The whole command line as given, after a `wrapper` command (prlimit) and
    // the launcher. env and the wrappers exec what follows them, so the process signalled is
    // the server itself.
    bool launch(const Words& arguments, const Words& wrapper = {}) {
        return process.start(concat({environment(), wrapper, launcher(), {program()}, arguments}));
    }
    bool start(const Words& extra = {}, const Words& wrapper = {}) {
        return launch(concat({safeArguments(), extra}), wrapper);
    }
    // Asks for a stop in order (wine turns SIGINT into the console's Ctrl+C); the exit code.
    int stop() {
        if (process.running()) {
            ::kill(process.pid(), onWindows() ? SIGINT : SIGTERM);
        }
        return process.wait(std::chrono::seconds(10));
    }

    bool waitForError(const std::string& text, std::chrono::milliseconds limit) {
        return runUntil(
            loop, [&] { return errors().find(text) != std::string::npos; }, limit);
    }
    // Whether its clock has been set from the reference within the time allowed.
    bool waitSynchronised() { return waitForError("Synchronized", std::chrono::seconds(5)); }
    // Its standard error, lines ended by LF alone (a Windows program writes CR LF).
    [[nodiscard]] std::string errors() const {
        std::string text = process.errors();
        std::erase(text, '\r');
        return text;
    }
    [[nodiscard]] std::string lastErrors() const {
        const std::string all = errors();
        return all.substr(all.size() - std::min<std::size_t>(all.size(), 2000));
    }

    EventLoop& loop;
    TempFolder dir;
    ChildProcess process; // last: it goes first, before the folder it writes into

private:
    static inline const std::string kKey = "HKEY_LOCAL_MACHINE\\Software\\Chronvale Server";

    // Replaces the server's registry key by one holding these lines of a .reg file.
    bool importRegistry(const std::string& valueLines) {
        const std::string file = dir.filePath("settings.reg");
        return writeFile(file, "Windows Registry Editor Version 5.00\r\n\r\n[-" + kKey +
                                   "]\r\n\r\n[" + kKey + "]\r\n" + valueLines) &&
               runWine({"reg", "import", serverPath(file)}).second == 0;
    }

    // Folders of the test's own. Under wine, the prefix the test run made for itself when it
    // names one (CHRONVALE_TEST_WINEPREFIX): a fresh prefix costs seconds, and copies in
    // different prefixes would not meet.
    [[nodiscard]] Words environment() const {
        const char* prefix = std::getenv("CHRONVALE_TEST_WINEPREFIX");
        return {"env",
                "CHRONVALE_NO_SET_CLOCK=1",
                "HOME=" + dir.filePath("home"),
                "XDG_CONFIG_HOME=" + dir.filePath("xdg"),
                "XDG_DATA_HOME=" + dir.filePath("share"),
                "XDG_RUNTIME_DIR=" + dir.filePath("runtime"),
                "WINEPREFIX=" + (prefix != nullptr && *prefix != '\0' ? std::string(prefix)
                                                                      : dir.filePath("wine"))};
    }
    // A wine program (reg) in the server's prefix: its output and exit code.
    std::pair<std::string, int> runWine(const Words& command) {
        ChildProcess tool(loop);
        const int code = tool.start(concat({environment(), launcher(), command}))
                             ? tool.wait(std::chrono::seconds(30))
                             : -1;
        return {tool.output(), code};
    }
    // A quoted string of a .reg file.
    static std::string regText(const std::string& text) {
        std::string quoted = "\"";
        for (const char c : text) {
            quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
        }
        return quoted + '"';
    }
};

} // namespace cvl::test
