// QBK_CVL_Server.exe: the server on Windows. For now it runs without a window, its status
// lines on the console, and stops in order on Ctrl+C, Ctrl+Break or the console's closing.
#include "app/headless_front_end.h"
#include "app/run_server.h"
#include "platform/windows/wide_text.h"

#include <optional>
#include <string>
#include <vector>

// shellapi.h needs windows.h first.
#include <windows.h>

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

} // namespace

int main() {
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(commandLineWords());
    if (const std::optional<int> status = cvl::handleInformationalOptions(parsed)) {
        return *status;
    }
    cvl::HeadlessFrontEnd frontEnd;
    return cvl::runServer(*parsed.line, frontEnd);
}
