#include "ui/win32/text_page.h"

namespace cvl {

TextPage::TextPage(HWND parent, const std::string& title, const std::string& text,
                   const std::string& buttonText, int buttonId) {
    createWindow(L"CVL_Page", WS_CHILD | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT, parent, title);
    title_ = makeLabel(handle(), title);
    text_ = makeLabel(handle(), text);
    if (buttonId != 0) {
        button_ = makeButton(handle(), buttonText, buttonId);
    }
}

LRESULT TextPage::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        layout(DpiScale(windowDpi(handle())));
        return 0;
    case WM_COMMAND:
        // The button belongs to the window's commands.
        return SendMessageW(GetParent(handle()), message, wParam, lParam);
    default:
        return NativeWindow::onMessage(message, wParam, lParam);
    }
}

void TextPage::layout(const DpiScale& s) {
    RECT area;
    GetClientRect(handle(), &area);
    const int width = area.right - s(16);
    place(title_, s(8), s(4), width, s(20));
    // The paragraph's height follows its words at this width and font.
    HDC dc = GetDC(text_);
    HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(text_, WM_GETFONT, 0, 0)));
    RECT needed{0, 0, width, 0};
    std::wstring words(static_cast<std::size_t>(GetWindowTextLengthW(text_)) + 1, L'\0');
    GetWindowTextW(text_, words.data(), int(words.size()));
    DrawTextW(dc, words.c_str(), -1, &needed, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
    SelectObject(dc, old);
    ReleaseDC(text_, dc);
    place(text_, s(8), s(30), width, needed.bottom + s(4));
    if (button_ != nullptr) {
        place(button_, s(8), s(38) + needed.bottom, s(230), s(28));
    }
}

} // namespace cvl
