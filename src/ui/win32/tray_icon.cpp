#include "ui/win32/tray_icon.h"

#include <algorithm>
#include <cstring>

namespace cvl {

void TrayIcon::attach(HWND window) {
    // The first version of the record: window, id, flags, callback, icon and a 64-character
    // tip. Its size is the platform's own (152 bytes on x64, where pointers are wider than
    // the 88 of 32-bit Windows); the shell takes the size as the record's version.
    record_.cbSize = NOTIFYICONDATAA_V1_SIZE;
    record_.hWnd = window;
    record_.uID = kId;
    record_.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP; // 7
    record_.uCallbackMessage = kCallbackMessage;       // 512
}

TrayIcon::~TrayIcon() {
    remove();
}

void TrayIcon::fillTip(const std::string& tipField) {
    std::memset(record_.szTip, 0, sizeof record_.szTip);
    std::memcpy(record_.szTip, tipField.data(),
                std::min(tipField.size(), sizeof record_.szTip - 1));
}

bool TrayIcon::add(HICON icon, const std::string& tipField) {
    record_.hIcon = icon;
    fillTip(tipField);
    shown_ = Shell_NotifyIconA(NIM_ADD, &record_) != FALSE;
    return shown_;
}

void TrayIcon::setIcon(HICON icon) {
    record_.hIcon = icon;
    if (shown_) {
        Shell_NotifyIconA(NIM_MODIFY, &record_);
    }
}

void TrayIcon::setTip(const std::string& tipField) {
    fillTip(tipField);
    if (shown_) {
        Shell_NotifyIconA(NIM_MODIFY, &record_);
    }
}

void TrayIcon::remove() {
    if (shown_) {
        Shell_NotifyIconA(NIM_DELETE, &record_);
        shown_ = false;
    }
}

bool TrayIcon::isTaskbarCreated(UINT message) {
    static const UINT taskbarCreated = RegisterWindowMessageA("TaskbarCreated");
    return message == taskbarCreated && taskbarCreated != 0;
}

bool TrayIcon::isIconMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    // A real mouse move carries the button state in wParam and the position in lParam; the
    // icon's carries its id and a mouse message with nothing in the high word.
    if (message != kCallbackMessage || wParam != kId || HIWORD(lParam) != 0) {
        return false;
    }
    switch (LOWORD(lParam)) {
    case WM_LBUTTONUP:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONUP:
    case WM_CONTEXTMENU:
        return true;
    default:
        return false;
    }
}

} // namespace cvl
