#include "platform/windows/close_requests.h"

namespace cvl {

namespace {

constexpr wchar_t kClassName[] = L"Chronvale Server close requests";

} // namespace

CloseRequests::CloseRequests(EventLoop& loop, std::function<void()> stop)
    : loop_(loop)
    , stop_(std::move(stop)) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kClassName;
    RegisterClassExW(&windowClass);
    // Top-level, never shown: a message-only window is found by no one who enumerates the
    // windows. Where there is no desktop to put it on (wine without a display), message-only
    // all the same, found by its class.
    window_ = CreateWindowExW(WS_EX_TOOLWINDOW, kClassName, L"Chronvale Server", WS_POPUP, 0, 0, 0,
                              0, nullptr, nullptr, GetModuleHandleW(nullptr), this);
    if (window_ == nullptr) {
        window_ = CreateWindowExW(0, kClassName, L"Chronvale Server", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                  nullptr, GetModuleHandleW(nullptr), this);
    }
}

CloseRequests::~CloseRequests() {
    if (window_ != nullptr) {
        DestroyWindow(window_);
    }
}

LRESULT CALLBACK CloseRequests::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        SetWindowLongPtrW(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(
                              reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams));
    }
    auto* self = reinterpret_cast<CloseRequests*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_CLOSE && self != nullptr) {
        // Handled after this message, as every other stop request is.
        self->loop_.post([self] {
            if (self->stop_) {
                self->stop_();
            }
        });
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

} // namespace cvl
