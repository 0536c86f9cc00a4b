// chronvale-server: the daemon, which links no toolkit at all. Where there is a display and
// --headless is not given, it becomes the desktop program installed beside it, which shows
// the window and tray icon over the same server.
#include "app/headless_front_end.h"
#include "app/run_server.h"
#include "platform/linux/program_folder.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace {

bool environmentHas(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

bool displayAvailable() {
    return environmentHas("DISPLAY") || environmentHas("WAYLAND_DISPLAY") ||
           environmentHas("QT_QPA_PLATFORM");
}

// The desktop program: beside this one in a build tree, in libexec when installed.
std::string desktopProgram(const std::filesystem::path& self) {
    const std::filesystem::path folder = self.parent_path();
    for (const std::filesystem::path& candidate :
         {folder / "chronvale-server-desktop",
          folder / ".." / CHRONVALE_LIBEXEC_DIR / "chronvale-server-desktop"}) {
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate.lexically_normal().string();
        }
    }
    return {};
}

} // namespace

int main(int argc, char* argv[]) {
    // The system's language for the day and month names of Daytime, as the desktop has it.
    std::setlocale(LC_ALL, "");
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(cvl::argumentList(argc, argv));
    if (const std::optional<int> status = cvl::handleInformationalOptions(parsed)) {
        return *status;
    }
    if (!parsed.line->headless && displayAvailable()) {
        const std::filesystem::path self = cvl::runningProgramFile();
        const std::string desktop = desktopProgram(self);
        if (!desktop.empty()) {
            // The start-with-the-system entry must name this program, not the one it becomes.
            ::setenv("CHRONVALE_SERVER_PROGRAM", self.c_str(), 1);
            ::execv(desktop.c_str(), argv);
        }
        std::fputs("chronvale-server: the desktop program is not installed; running headless\n",
                   stderr);
    }
    cvl::HeadlessFrontEnd frontEnd;
    return cvl::runServer(*parsed.line, frontEnd);
}
