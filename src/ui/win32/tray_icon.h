// The notification-area icon. Its record names the main window and carries the window's
// mouse-move message as its callback, so the window tells the icon's clicks from its own
// mouse moves by the icon's id in wParam. The tip is the status model's 64-character field.
// Explorer forgets every icon when it restarts; it says so with "TaskbarCreated", and the
// icon is added again.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace cvl {

class TrayIcon final {
public:
    static constexpr UINT kId = 1;
    static constexpr UINT kCallbackMessage = WM_MOUSEMOVE;

    TrayIcon() = default;
    ~TrayIcon();
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    // The window whose mouse-move message carries the icon's clicks.
    void attach(HWND window);
    // tipField: the fixed 64-character field, NUL included.
    bool add(HICON icon, const std::string& tipField);
    void setIcon(HICON icon);
    void setTip(const std::string& tipField);
    void remove();
    [[nodiscard]] bool shown() const { return shown_; }
    [[nodiscard]] std::string tip() const { return record_.szTip; }
    // Whether a window message is Explorer announcing that it started again.
    [[nodiscard]] static bool isTaskbarCreated(UINT message);
    // Whether a WM_MOUSEMOVE came from the icon; what the mouse did is in lParam then.
    [[nodiscard]] static bool isIconMessage(UINT message, WPARAM wParam, LPARAM lParam);

private:
    void fillTip(const std::string& tipField);

    NOTIFYICONDATAA record_{};
    bool shown_ = false;
};

} // namespace cvl
