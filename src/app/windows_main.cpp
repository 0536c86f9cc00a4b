// QBK_CVL_Server.exe: the server on Windows. A window program: the main window and the tray
// icon; with --headless no window at all, its status lines on the console it was started
// from, stopping in order on Ctrl+C, Ctrl+Break or the console's closing; with --service the
// Windows service, as the service control manager starts it.
#include "app/headless_front_end.h"
#include "app/installer_actions.h"
#include "app/run_server.h"
#include "app/service_front_end.h"
#include "platform/windows/event_log.h"
#include "platform/windows/parent_console.h"
#include "platform/windows/service_control.h"
#include "platform/windows/wide_text.h"
#include "ui/win32/desktop_front_end.h"

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

// shellapi.h and commctrl.h need windows.h first.
#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

namespace {

// The command line in UTF-8, whatever the console's code page.
std::vector<std::string> commandLineWords() {
    int count = 0;
    LPWSTR* words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> list;
    for (int i = 0; words != nullptr && i < count; ++i) {
        list.push_back(cvl::utf8FromWide(words[i]));
    }
    LocalFree(words);
    return list;
}

// The service, once the control manager has started the process; 2 when it did not.
int runService(const cvl::CommandLine& line) {
    const std::optional<int> status = cvl::runAsService([&line](cvl::ServiceSession& session) {
        cvl::ServiceFrontEnd frontEnd(session);
        return cvl::runServer(line, frontEnd,
                              [&frontEnd](cvl::ServerController&) { frontEnd.running(); });
    });
    if (status) {
        return *status;
    }
    cvl::useParentConsole();
    std::fprintf(stderr,
                 "QBK_CVL_Server.exe: --service is for the service control manager, which starts "
                 "the installed service %s (\"%s\"): net start %s. To run the server here, "
                 "start it without --service.\n",
                 cvl::kServiceName, cvl::kServiceDisplayName, cvl::kServiceName);
    return 2;
}

} // namespace

int main() {
    const std::vector<std::string> words = commandLineWords();
    if (const std::optional<int> status =
            cvl::runInstallerAction({words.begin() + (words.empty() ? 0 : 1), words.end()})) {
        return *status;
    }
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(words);
    // Lines for a prompt: the answers to --help and --version, a mistake on the command line,
    // and everything the program without a window says.
    if (!parsed.line || parsed.line->showHelp || parsed.line->showVersion ||
        parsed.line->headless) {
        cvl::useParentConsole();
    }
    if (const std::optional<int> status = cvl::handleInformationalOptions(parsed)) {
        return *status;
    }
    if (parsed.line->service) {
        return runService(*parsed.line);
    }
    if (parsed.line->headless) {
        // Warnings and errors also in the Event Log, where an administrator looks for them.
        cvl::EventLog events;
        cvl::HeadlessFrontEnd frontEnd([&events](cvl::Severity severity, const std::string& text) {
            events.write(cvl::eventKind(severity), text);
        });
        return cvl::runServer(*parsed.line, frontEnd);
    }
    // Before the first window: the tree, list and tool tips, in the system's visual style.
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES |
                                                       ICC_BAR_CLASSES | ICC_USEREX_CLASSES |
                                                       ICC_STANDARD_CLASSES | ICC_TAB_CLASSES};
    InitCommonControlsEx(&controls);
    cvl::Win32FrontEnd frontEnd;
    return cvl::runServer(*parsed.line, frontEnd);
}
