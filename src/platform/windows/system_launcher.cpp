#include "platform/windows/system_launcher.h"
#include "platform/windows/wide_text.h"

#include <windows.h>

namespace cvl {

namespace {

bool startCommand(const wchar_t* program, std::wstring command, WORD showWindow) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = showWindow;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        return false;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

} // namespace

bool SystemLauncher::start(const std::string& program, const std::vector<std::string>& arguments) {
    std::string command = '"' + program + '"';
    for (const std::string& argument : arguments) {
        command += ' ' + argument;
    }
    const std::wstring path = wideFromUtf8(program);
    return startCommand(path.c_str(), wideFromUtf8(command), SW_SHOWNORMAL);
}

bool SystemLauncher::openDateTimeSettings() {
    return startCommand(nullptr, L"rundll32.exe shell32.dll,Control_RunDLL timedate.cpl", SW_SHOW);
}

} // namespace cvl
