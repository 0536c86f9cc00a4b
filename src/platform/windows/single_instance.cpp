// One copy per machine on Windows: a named mutex in the global namespace, which every user's
// session sees; the system releases it with the process, so a crash leaves nothing behind.
// The running copy keeps a message-only window by which a second start asks it to show
// itself; the answer says whether a window came forward.
#include "platform/single_instance.h"

#include <windows.h>

namespace cvl {

namespace {

constexpr char kMutexName[] = "Global\\Chronvale Server";
constexpr wchar_t kRequestClass[] = L"Chronvale Server running copy";
constexpr UINT kShowRequest = WM_APP + 1;

LRESULT CALLBACK requestProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kShowRequest) {
        const auto* show = reinterpret_cast<const std::function<bool()>*>(
            GetWindowLongPtrW(window, GWLP_USERDATA));
        return show != nullptr && *show && (*show)() ? 1 : 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

} // namespace

SingleInstance::SingleInstance(EventLoop& loop)
    : loop_(loop) {}

SingleInstance::~SingleInstance() {
    if (requests_ != nullptr) {
        DestroyWindow(static_cast<HWND>(requests_));
    }
    if (descriptor_ != -1) {
        CloseHandle(reinterpret_cast<HANDLE>(descriptor_));
    }
}

bool SingleInstance::acquire() {
    if (descriptor_ != -1) {
        return true;
    }
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, kMutexName);
    if (mutex == nullptr) {
        return true; // without the mutex there is nothing to guard either
    }
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        CloseHandle(mutex);
        return false;
    }
    descriptor_ = reinterpret_cast<std::intptr_t>(mutex);
    answerRequests();
    return true;
}

bool SingleInstance::askRunningCopyToShow() {
    const HWND running = FindWindowExW(HWND_MESSAGE, nullptr, kRequestClass, nullptr);
    if (running == nullptr) {
        return false;
    }
    // Windows lets only the program in front bring a window forward: this start lends it.
    AllowSetForegroundWindow(ASFW_ANY);
    DWORD_PTR shown = 0;
    return SendMessageTimeoutW(running, kShowRequest, 0, 0, SMTO_ABORTIFHUNG, 1000, &shown) != 0 &&
           shown == 1;
}

void SingleInstance::answerRequests() {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = requestProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kRequestClass;
    RegisterClassExW(&windowClass);
    const HWND window = CreateWindowExW(0, kRequestClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                        GetModuleHandleW(nullptr), nullptr);
    if (window != nullptr) {
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&show_));
    }
    requests_ = window;
}

} // namespace cvl
