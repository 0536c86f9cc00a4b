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
    const int height = wrappedHeight(text_, width);
    place(text_, s(8), s(30), width, height + s(4));
    if (button_ != nullptr) {
        place(button_, s(8), s(38) + height, s(230), s(28));
    }
}

} // namespace cvl
