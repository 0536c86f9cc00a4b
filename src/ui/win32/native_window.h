// The Windows desktop's windows: a C++ object behind each window of ours (its messages reach
// handle()), the standard controls they hold with UTF-8 text, and sizes given at 96 DPI and
// scaled to the monitor the window is on.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include <windows.h>

namespace cvl {

// Sizes at 96 DPI turned into the monitor's pixels.
class DpiScale {
public:
    explicit DpiScale(UINT dpi = 96)
        : dpi_(dpi == 0 ? 96 : dpi) {}
    [[nodiscard]] int operator()(int pixelsAt96) const { return MulDiv(pixelsAt96, int(dpi_), 96); }
    [[nodiscard]] UINT dpi() const { return dpi_; }

private:
    UINT dpi_;
};

[[nodiscard]] UINT windowDpi(HWND window);
// The system's message font at dpi, or the family given at its size; the caller deletes it.
[[nodiscard]] HFONT createUiFont(UINT dpi, const wchar_t* family = nullptr, bool bold = false);

class NativeWindow {
public:
    NativeWindow() = default;
    virtual ~NativeWindow();
    NativeWindow(const NativeWindow&) = delete;
    NativeWindow& operator=(const NativeWindow&) = delete;

    [[nodiscard]] HWND handle() const { return window_; }

protected:
    // Registers className once and makes the window; false when it could not be made.
    bool createWindow(const wchar_t* className, DWORD style, DWORD exStyle, HWND parent,
                      const std::string& title, HICON icon = nullptr);
    virtual LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);

private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    HWND window_ = nullptr;
};

// Standard controls, made as children of parent with the given id.
HWND makeControl(HWND parent, const wchar_t* className, std::string_view text, DWORD style,
                 int id = 0, DWORD exStyle = 0);
HWND makeLabel(HWND parent, std::string_view text, int id = 0, DWORD extraStyle = 0);
HWND makeCheckBox(HWND parent, std::string_view text, int id);
HWND makeButton(HWND parent, std::string_view text, int id);
HWND makeEdit(HWND parent, int id, DWORD extraStyle = 0);
HWND makeGroup(HWND parent, std::string_view text);

void setText(HWND control, std::string_view text);
[[nodiscard]] std::string textOf(HWND control);
// Calls onEnter when Enter is pressed in the edit box (and keeps the dialog from beeping).
void onEnterKey(HWND edit, std::function<void()> onEnter);
// Sets the text only when it differs, so that a refresh neither flickers nor moves a caret.
void showText(HWND control, std::string_view text);
void place(HWND control, int x, int y, int width, int height);
// Shown by its own style, whether or not its parent is shown now.
[[nodiscard]] bool isShown(HWND control);
// How wide text is in control's font, and how high control's own words are wrapped at width.
[[nodiscard]] int textWidth(HWND control, const std::string& text);
[[nodiscard]] int wrappedHeight(HWND control, int width);
// Every child of parent in font.
void setFontOfChildren(HWND parent, HFONT font);
// A page's words in font, its title in bold.
void setPageFonts(HWND page, HWND title, HFONT font, HFONT bold);

// One tool tip control per window, with a tip per control.
class ToolTips {
public:
    void attach(HWND owner);
    void setTip(HWND control, std::string_view text);

private:
    HWND tips_ = nullptr;
    std::map<HWND, std::string> shown_; // a refresh that changes nothing sends nothing
};

} // namespace cvl
