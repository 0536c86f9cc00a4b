// The Linux services of the running program: epoll, the INI settings file, XDG autostart,
// the clock and zone of the C library, and SIGINT/SIGTERM/SIGUSR1.
#include "platform/system_platform.h"

#include "platform/linux/epoll_event_loop.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/process_signals.h"
#include "platform/linux/program_folder.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_host_info.h"
#include "platform/linux/system_launcher.h"
#include "platform/linux/system_time_zone.h"
#include "platform/linux/xdg_autostart.h"
#include "platform/linux/xdg_folders.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <unistd.h>
#include <vector>

namespace cvl {

namespace {

namespace fs = std::filesystem;

// A desktop-entry Exec line: arguments with blanks are quoted.
std::string execLine(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty()) {
            line += ' ';
        }
        line += word.find(' ') != std::string::npos ? '"' + word + '"' : word;
    }
    return line;
}

std::string absolute(const std::string& path) {
    std::error_code error;
    const fs::path made = fs::absolute(path, error);
    return (error ? fs::path(path) : made).lexically_normal().string();
}

// This program's file. The desktop program runs from libexec; the daemon that handed over
// tells where it is.
std::string programFile() {
    if (const char* handedOver = std::getenv("CHRONVALE_SERVER_PROGRAM");
        handedOver != nullptr && *handedOver != '\0') {
        return handedOver;
    }
    return runningProgramFile();
}

class LinuxSystemPlatform final : public SystemPlatform {
public:
    explicit LinuxSystemPlatform(const SystemChoices& choices)
        : choices_(choices)
        , clock_(choices.setClock) {}

    [[nodiscard]] bool isValid() const { return loop_.isValid(); }
    EventLoop& loop() override { return loop_; }

    Platform platform(Prompter& prompter) override {
        const std::string settingsPath =
            absolute(choices_.settingsFile.empty() ? defaultSettingsPath() : choices_.settingsFile);
        const std::string program = programFile();
        const std::string executableFolder = fs::path(program).parent_path().string();
        const std::string programFolder =
            absolute(choices_.dataDir.empty()
                         ? defaultProgramFolder(executableFolder, ::geteuid() == 0, xdgDataHome())
                         : choices_.dataDir);
        std::error_code error;
        fs::create_directories(programFolder, error);
        // Before the server starts, so that it reads the list instead of asking the update
        // server.
        provideServerFile(programFolder, installedServerFile(executableFolder));

        std::vector<std::string> command{program};
        if (!choices_.dataDir.empty()) {
            command.insert(command.end(), {"--data-dir", programFolder});
        }
        if (!choices_.settingsFile.empty()) {
            command.insert(command.end(), {"--settings", settingsPath});
        }
        settings_.emplace(settingsPath);
        autostart_.emplace(xdgConfigHome());
        host_.emplace(programFolder, execLine(command));
        return {loop_, clock_, timeZone_, *settings_, *autostart_, *host_, prompter, launcher_};
    }

    void onRequests(std::function<void()> stop, std::function<void()> syncNow) override {
        signals_.emplace(
            loop_, [stop = std::move(stop)](int) { stop(); }, std::move(syncNow));
    }

private:
    SystemChoices choices_;
    EpollEventLoop loop_;
    SystemClock clock_;
    SystemTimeZone timeZone_;
    SystemLauncher launcher_;
    std::optional<IniSettingsStore> settings_;
    std::optional<XdgAutostart> autostart_;
    std::optional<SystemHostInfo> host_;
    std::optional<ProcessSignals> signals_;
};

} // namespace

std::unique_ptr<SystemPlatform> SystemPlatform::open(const SystemChoices& choices) {
    auto system = std::make_unique<LinuxSystemPlatform>(choices);
    if (!system->isValid()) {
        std::fputs("chronvale-server: no event loop (out of descriptors?)\n", stderr);
        return nullptr;
    }
    return system;
}

} // namespace cvl
