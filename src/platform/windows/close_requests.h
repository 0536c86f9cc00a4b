// A window program without a console is asked to stop by a message to its windows: taskkill
// without /F, an installer, or a script posts WM_CLOSE to the top-level windows of the
// process. The program without a window keeps a hidden one for that; the desktop's main
// window answers it as well.
#pragma once

#include "platform/event_loop.h"

#include <functional>

#include <windows.h>

namespace cvl {

class CloseRequests final {
public:
    CloseRequests(EventLoop& loop, std::function<void()> stop);
    ~CloseRequests();
    CloseRequests(const CloseRequests&) = delete;
    CloseRequests& operator=(const CloseRequests&) = delete;

private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    EventLoop& loop_;
    std::function<void()> stop_;
    HWND window_ = nullptr;
};

} // namespace cvl
