#include "platform/windows/console_requests.h"

#include <atomic>
#include <windows.h>

namespace cvl {

namespace {

// The one handler of the process; the system knows no context pointer for it.
EventLoop* gLoop = nullptr;
std::function<void()>* gStop = nullptr;
HANDLE gStopped = nullptr;
std::atomic<bool> gAsked{false};

// Windows ends a closing console's process about five seconds after the event.
constexpr DWORD kCloseWaitMs = 4500;

BOOL WINAPI consoleEvent(DWORD event) {
    if (gLoop == nullptr) {
        return FALSE;
    }
    if (!gAsked.exchange(true)) {
        gLoop->post([] {
            if (gStop != nullptr) {
                (*gStop)();
            }
        });
    }
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        WaitForSingleObject(gStopped, kCloseWaitMs);
    }
    return TRUE;
}

} // namespace

ConsoleRequests::ConsoleRequests(EventLoop& loop, std::function<void()> stop) {
    gLoop = &loop;
    gStop = new std::function<void()>(std::move(stop));
    gStopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(consoleEvent, TRUE);
}

ConsoleRequests::~ConsoleRequests() {
    SetConsoleCtrlHandler(consoleEvent, FALSE);
    gLoop = nullptr;
    SetEvent(gStopped); // a handler still waiting may let the process end now
    delete gStop;
    gStop = nullptr;
}

} // namespace cvl
