// The Windows services of the running program: the message loop, the registry, the Run key,
// the system clock and zone, and the console's stop requests.
#include "platform/system_platform.h"

#include "platform/file_path.h"
#include "platform/server_file_copy.h"
#include "platform/windows/close_requests.h"
#include "platform/windows/console_requests.h"
#include "platform/windows/message_loop.h"
#include "platform/windows/registry_settings_store.h"
#include "platform/windows/run_key_autostart.h"
#include "platform/windows/system_clock.h"
#include "platform/windows/system_host_info.h"
#include "platform/windows/system_launcher.h"
#include "platform/windows/system_time_zone.h"

#include <cstdio>
#include <filesystem>
#include <optional>

namespace cvl {

namespace {

namespace fs = std::filesystem;

class WindowsSystemPlatform final : public SystemPlatform {
public:
    explicit WindowsSystemPlatform(const SystemChoices& choices)
        : choices_(choices)
        , clock_(choices.setClock) {}

    [[nodiscard]] bool isValid() const { return loop_.isValid(); }
    EventLoop& loop() override { return loop_; }

    Platform platform(Prompter& prompter) override {
        const fs::path executableFolder = filePath(runningProgramFile()).parent_path();
        std::error_code error;
        fs::path folder = choices_.dataDir.empty() ? executableFolder : filePath(choices_.dataDir);
        folder = fs::absolute(folder, error).lexically_normal();
        fs::create_directories(folder, error);
        if (folder != executableFolder) {
            provideServerFile(pathText(folder), pathText(executableFolder / kServerFileName));
        }
        std::string programFolder = pathText(folder.make_preferred());
        while (programFolder.size() > 3 && programFolder.back() == '\\') {
            programFolder.pop_back(); // no trailing separator, except after a drive
        }
        host_.emplace(programFolder);
        return {loop_, clock_, timeZone_, settings_, autostart_, *host_, prompter, launcher_};
    }

    void onRequests(std::function<void()> stop, std::function<void()>) override {
        console_.emplace(loop_, stop);
        closeRequests_.emplace(loop_, std::move(stop));
    }

private:
    SystemChoices choices_;
    MessageLoop loop_;
    SystemClock clock_;
    SystemTimeZone timeZone_;
    SystemLauncher launcher_;
    RegistrySettingsStore settings_;
    RunKeyAutostart autostart_;
    std::optional<SystemHostInfo> host_;
    std::optional<ConsoleRequests> console_;
    std::optional<CloseRequests> closeRequests_;
};

} // namespace

std::unique_ptr<SystemPlatform> SystemPlatform::open(const SystemChoices& choices) {
    auto system = std::make_unique<WindowsSystemPlatform>(choices);
    if (!system->isValid()) {
        std::fputs("QBK_CVL_Server: no message window could be made\n", stderr);
        return nullptr;
    }
    return system;
}

} // namespace cvl
