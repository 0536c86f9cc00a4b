// A controller wired to fakes of every adapter, with its program folder in a temporary
// directory and a real event loop: what most controller tests start from.
#pragma once

#include "core/server_controller.h"
#include "loop_waits.h"
#include "platform_fakes.h"
#include "temp_folder.h"

#include <memory>
#include <string>
#include <vector>

namespace cvl::test {

inline const std::vector<std::string> kLoopbackServerEntry{"127.0.0.1:::Loopback NA:::2:::"};

// A reference-server list: five header lines, then the entries.
inline void writeServerFile(const std::string& path,
                            const std::vector<std::string>& entries = kLoopbackServerEntry) {
    std::string text = "h1\r\nh2\r\nh3\r\nh4\r\nh5\r\n";
    for (const std::string& entry : entries) {
        text += entry + "\r\n";
    }
    writeFile(path, text);
}

struct ServerRig {
    ServerRig() { host.folder = folder.path(); }

    void writeServerFile(const std::vector<std::string>& entries = kLoopbackServerEntry) {
        test::writeServerFile(folder.filePath("QBK_CVLS4.CVL"), entries);
    }

    ServerController& server() {
        if (!instance) {
            instance = std::make_unique<ServerController>(
                Platform{*loop, clock, timeZone, store, autostart, host, prompter, launcher},
                options);
        }
        return *instance;
    }

    template <typename Done>
    bool runUntil(Done done, std::chrono::milliseconds timeout = std::chrono::seconds(5)) {
        return test::runUntil(*loop, done, timeout);
    }

    // Declared first: the loop runs on it.
    SkippingClock monotonic;
    std::unique_ptr<EventLoop> loop = makeEventLoop(monotonic);
    TempFolder folder;
    FakeClock clock;
    FakeTimeZone timeZone;
    MemorySettingsStore store;
    FakeAutostart autostart;
    FakeHostInfo host;
    FakePrompter prompter;
    FakeLauncher launcher;
    ServerOptions options;
    std::unique_ptr<ServerController> instance;
};

} // namespace cvl::test
