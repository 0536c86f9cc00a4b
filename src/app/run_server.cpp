#include "app/run_server.h"

#include "core/server_controller.h"
#include "platform/single_instance.h"
#include "platform/stderr_prompter.h"
#include "platform/system_platform.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace cvl {

std::vector<std::string> argumentList(int argc, char* argv[]) {
    return {argv, argv + argc};
}

std::optional<int> handleInformationalOptions(const CommandLineResult& parsed) {
    if (!parsed.line) {
        std::fprintf(stderr, "chronvale-server: %s\nTry 'chronvale-server --help'.\n",
                     parsed.error.c_str());
        return 2;
    }
    if (parsed.line->showHelp) {
        std::fputs(usageText(), stdout);
        return 0;
    }
    if (!parsed.line->ignored.empty()) {
        std::string words;
        for (const std::string& word : parsed.line->ignored) {
            words += (words.empty() ? "" : " ") + word;
        }
        std::fprintf(stderr, "chronvale-server: ignoring what is not an option: %s\n",
                     words.c_str());
    }
    if (parsed.line->showVersion) {
        std::printf("chronvale-server %s\n", appVersion().c_str());
        return 0;
    }
    return std::nullopt;
}

int runServer(const CommandLine& line, FrontEnd& frontEnd,
              const std::function<void(ServerController&)>& afterStart) {
    const std::unique_ptr<SystemPlatform> system =
        SystemPlatform::open({!line.noSetClock, line.settingsFile, line.dataDir});
    if (!system) {
        return 1;
    }
    EventLoop& loop = system->loop();

    // Before anything is read or opened: a second copy leaves no trace.
    SingleInstance instance(loop);
    if (!instance.acquire()) {
        if (!frontEnd.raisesRunningCopy() || !SingleInstance::askRunningCopyToShow()) {
            frontEnd.anotherCopyRuns();
        }
        return 1;
    }
    instance.setShowHandler([&frontEnd] { return frontEnd.showWindow(); });

    ServerOptions options;
    options.referencePort = line.referencePort;
    options.strictSync = line.strictSync;
    if (!line.updateHost.empty()) {
        options.updateHost = line.updateHost;
        options.updatePort = line.updatePort;
    }
    ServerController server(system->platform(frontEnd.prompter()), options);
    system->onRequests([&frontEnd, &loop] { frontEnd.quit(loop); },
                       [&server] { server.synchroniser().requestSync(); });

    server.diagnostics().setSink([&frontEnd](Severity severity, const std::string& text) {
        frontEnd.report(severity, text);
    });
    frontEnd.build(server);
    server.start([&] { frontEnd.startUp(line.startHidden); });
    if (afterStart) {
        afterStart(server);
    }
    const int status = frontEnd.run(loop);
    server.shutdown();
    frontEnd.release();
    return status;
}

} // namespace cvl
