// A page of the tree that only tells: a title, a paragraph, and perhaps one button.
#pragma once

#include "ui/win32/native_window.h"

namespace cvl {

class TextPage final : public NativeWindow {
public:
    // buttonId 0: no button; its clicks reach parent as WM_COMMAND.
    TextPage(HWND parent, const std::string& title, const std::string& text,
             const std::string& buttonText = {}, int buttonId = 0);
    void layout(const DpiScale& scale);
    void setFonts(HFONT font, HFONT bold) { setPageFonts(handle(), title_, font, bold); }

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

    HWND title_;
    HWND text_;
    HWND button_ = nullptr;
};

} // namespace cvl
