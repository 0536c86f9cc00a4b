#include "platform/windows/console_requests.h"

#include <atomic>
#include <utility>
#include <windows.h>

namespace cvl {

namespace {

// The one handler of the process; the system knows no context pointer for it.
std::atomic<EventLoop*> gLoop{nullptr};
std::function<void()> gStop; // touched on the loop's thread only
HANDLE gStopped = nullptr;   // kept open: a late handler may still wait on it
std::atomic<bool> gAsked{false};

// Windows ends a closing console's process about five seconds after the event.
constexpr DWORD kCloseWaitMs = 4500;

BOOL WINAPI consoleEvent(DWORD event) {
    EventLoop* loop = gLoop.load();
    if (loop == nullptr) {
        return FALSE;
    }
    if (!gAsked.exchange(true)) {
        loop->post([] {
            if (gStop) {
                gStop();
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
    gStop = std::move(stop);
    gStopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    gLoop = &loop;
    SetConsoleCtrlHandler(consoleEvent, TRUE);
}

ConsoleRequests::~ConsoleRequests() {
    SetConsoleCtrlHandler(consoleEvent, FALSE);
    gLoop = nullptr;
    gStop = nullptr;
    SetEvent(gStopped); // a handler still waiting may let the process end now
}

} // namespace cvl
