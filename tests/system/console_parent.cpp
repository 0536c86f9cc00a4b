// console_parent.exe PROGRAM [ARGS...]: starts a program as a command prompt does, with this
// console, and waits for it; its exit code is this one's, and the program ends with it. The
// system tests launch the Windows server through it under wine, where a window program gets
// no console events: Ctrl+C (wine's form of SIGINT) is passed on as taskkill does, WM_CLOSE
// to the program's windows. A first argument that is a Linux path is named on wine's Z: drive.
#include <string>

#include <windows.h>

namespace {

DWORD childProcess = 0;

BOOL CALLBACK askToClose(HWND window, LPARAM) {
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    if (owner == childProcess) {
        PostMessageW(window, WM_CLOSE, 0, 0);
    }
    return TRUE;
}

BOOL WINAPI passOn(DWORD event) {
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        EnumWindows(askToClose, 0);
        // Without a display wine has no desktop for hidden windows: the server's is
        // message-only then.
        for (HWND window = nullptr;
             (window = FindWindowExW(HWND_MESSAGE, window, L"Chronvale Server close requests",
                                     nullptr)) != nullptr;) {
            askToClose(window, 0);
        }
        return TRUE;
    }
    return FALSE;
}

std::wstring quoted(const std::wstring& word) {
    if (!word.empty() && word.find_first_of(L" \t\"") == std::wstring::npos) {
        return word;
    }
    std::wstring out = L"\"";
    for (const wchar_t c : word) {
        if (c == L'"') {
            out += L'\\';
        }
        out += c;
    }
    return out + L"\"";
}

} // namespace

int wmain(int argc, wchar_t* argv[]) {
    if (argc < 2) {
        return 2;
    }
    std::wstring program = argv[1];
    if (program.front() == L'/') {
        for (wchar_t& c : program) {
            c = c == L'/' ? L'\\' : c;
        }
        program = L"Z:" + program;
    }
    std::wstring command = quoted(program);
    for (int i = 2; i < argc; ++i) {
        command += L" " + quoted(argv[i]);
    }
    SetConsoleCtrlHandler(passOn, TRUE);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    // The program goes with this one, however this one ends.
    HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                        nullptr, &startup, &child)) {
        return 127;
    }
    AssignProcessToJobObject(job, child.hProcess);
    ResumeThread(child.hThread);
    childProcess = child.dwProcessId;
    WaitForSingleObject(child.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(child.hProcess, &code);
    return int(code);
}
