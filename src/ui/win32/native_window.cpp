#include "ui/win32/native_window.h"

#include "platform/windows/wide_text.h"

#include <commctrl.h>

namespace cvl {

UINT windowDpi(HWND window) {
    const UINT dpi = window != nullptr ? GetDpiForWindow(window) : GetDpiForSystem();
    return dpi == 0 ? 96 : dpi;
}

HFONT createUiFont(UINT dpi, const wchar_t* family, bool bold) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    if (!SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi)) {
        metrics.lfMessageFont.lfHeight = -MulDiv(9, int(dpi), 72);
        lstrcpyW(metrics.lfMessageFont.lfFaceName, L"Segoe UI");
    }
    LOGFONTW font = metrics.lfMessageFont;
    if (family != nullptr) {
        lstrcpynW(font.lfFaceName, family, LF_FACESIZE);
    }
    if (bold) {
        font.lfWeight = FW_BOLD;
    }
    return CreateFontIndirectW(&font);
}

NativeWindow::~NativeWindow() {
    if (window_ != nullptr) {
        SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
        DestroyWindow(window_);
    }
}

bool NativeWindow::createWindow(const wchar_t* className, DWORD style, DWORD exStyle, HWND parent,
                                const std::string& title, HICON icon) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    if (!GetClassInfoExW(GetModuleHandleW(nullptr), className, &windowClass)) {
        windowClass.cbSize = sizeof windowClass;
        windowClass.style = CS_HREDRAW | CS_VREDRAW;
        windowClass.lpfnWndProc = procedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)); // IDC_ARROW
        windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
        windowClass.hIcon = icon;
        windowClass.lpszClassName = className;
        RegisterClassExW(&windowClass);
    }
    window_ = CreateWindowExW(exStyle, className, wideFromUtf8(title).c_str(), style, CW_USEDEFAULT,
                              CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, parent, nullptr,
                              GetModuleHandleW(nullptr), this);
    return window_ != nullptr;
}

LRESULT NativeWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcW(window_, message, wParam, lParam);
}

LRESULT CALLBACK NativeWindow::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<NativeWindow*>(
            reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<NativeWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    if (message == WM_NCDESTROY) {
        self->window_ = nullptr;
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        return DefWindowProcW(window, message, wParam, lParam);
    }
    return self->onMessage(message, wParam, lParam);
}

HWND makeControl(HWND parent, const wchar_t* className, std::string_view text, DWORD style, int id,
                 DWORD exStyle) {
    return CreateWindowExW(exStyle, className, wideFromUtf8(text).c_str(),
                           WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                           GetModuleHandleW(nullptr), nullptr);
}

HWND makeLabel(HWND parent, std::string_view text, int id, DWORD extraStyle) {
    return makeControl(parent, L"STATIC", text, SS_LEFT | SS_NOPREFIX | extraStyle, id);
}

HWND makeCheckBox(HWND parent, std::string_view text, int id) {
    return makeControl(parent, L"BUTTON", text, BS_AUTOCHECKBOX | WS_TABSTOP, id);
}

HWND makeButton(HWND parent, std::string_view text, int id) {
    return makeControl(parent, L"BUTTON", text, BS_PUSHBUTTON | WS_TABSTOP, id);
}

HWND makeEdit(HWND parent, int id, DWORD extraStyle) {
    return makeControl(parent, L"EDIT", "", ES_AUTOHSCROLL | WS_TABSTOP | extraStyle, id,
                       WS_EX_CLIENTEDGE);
}

HWND makeGroup(HWND parent, std::string_view text) {
    return makeControl(parent, L"BUTTON", text, BS_GROUPBOX);
}

namespace {

LRESULT CALLBACK enterKeyProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam,
                                   UINT_PTR id, DWORD_PTR data) {
    auto* onEnter = reinterpret_cast<std::function<void()>*>(data);
    switch (message) {
    case WM_GETDLGCODE:
        if (wParam == VK_RETURN) {
            return DLGC_WANTALLKEYS;
        }
        break;
    case WM_KEYDOWN:
        if (wParam == VK_RETURN) {
            (*onEnter)();
            return 0;
        }
        break;
    case WM_CHAR:
        if (wParam == '\r' || wParam == '\n') {
            return 0;
        }
        break;
    case WM_NCDESTROY:
        RemoveWindowSubclass(edit, enterKeyProcedure, id);
        delete onEnter;
        break;
    default:
        break;
    }
    return DefSubclassProc(edit, message, wParam, lParam);
}

} // namespace

void onEnterKey(HWND edit, std::function<void()> onEnter) {
    SetWindowSubclass(edit, enterKeyProcedure, 1,
                      reinterpret_cast<DWORD_PTR>(new std::function<void()>(std::move(onEnter))));
}

void setText(HWND control, std::string_view text) {
    SetWindowTextW(control, wideFromUtf8(text).c_str());
}

std::string textOf(HWND control) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(control, text.data(), int(text.size()))));
    return utf8FromWide(text);
}

void showText(HWND control, std::string_view text) {
    if (textOf(control) != text) {
        setText(control, text);
    }
}

void place(HWND control, int x, int y, int width, int height) {
    SetWindowPos(control, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

namespace {

// control's device context with its font chosen, for measuring its words.
class MeasuringContext {
public:
    explicit MeasuringContext(HWND control)
        : control_(control)
        , dc_(GetDC(control))
        , old_(SelectObject(dc_,
                            reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)))) {}
    ~MeasuringContext() {
        SelectObject(dc_, old_);
        ReleaseDC(control_, dc_);
    }
    MeasuringContext(const MeasuringContext&) = delete;
    MeasuringContext& operator=(const MeasuringContext&) = delete;
    [[nodiscard]] HDC dc() const { return dc_; }

private:
    HWND control_;
    HDC dc_;
    HGDIOBJ old_;
};

} // namespace

int textWidth(HWND control, const std::string& text) {
    const MeasuringContext measuring(control);
    const std::wstring wide = wideFromUtf8(text);
    SIZE size{};
    GetTextExtentPoint32W(measuring.dc(), wide.c_str(), int(wide.size()), &size);
    return size.cx;
}

int wrappedHeight(HWND control, int width) {
    const MeasuringContext measuring(control);
    const std::wstring words = wideFromUtf8(textOf(control));
    RECT needed{0, 0, width, 0};
    DrawTextW(measuring.dc(), words.c_str(), -1, &needed, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
    return needed.bottom;
}

bool isShown(HWND control) {
    return (GetWindowLongW(control, GWL_STYLE) & WS_VISIBLE) != 0;
}

void setFontOfChildren(HWND parent, HFONT font) {
    EnumChildWindows(
        parent,
        [](HWND child, LPARAM font) -> BOOL {
            SendMessageW(child, WM_SETFONT, static_cast<WPARAM>(font), TRUE);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(font));
}

void setPageFonts(HWND page, HWND title, HFONT font, HFONT bold) {
    setFontOfChildren(page, font);
    SendMessageW(title, WM_SETFONT, reinterpret_cast<WPARAM>(bold), TRUE);
}

void ToolTips::attach(HWND owner) {
    tips_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP,
                            CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, owner,
                            nullptr, GetModuleHandleW(nullptr), nullptr);
    SendMessageW(tips_, TTM_SETMAXTIPWIDTH, 0, 480);
}

void ToolTips::setTip(HWND control, std::string_view text) {
    if (tips_ == nullptr) {
        return;
    }
    const auto shown = shown_.find(control);
    if (shown != shown_.end() && shown->second == text) {
        return;
    }
    shown_[control] = std::string(text);
    std::wstring wide = wideFromUtf8(text);
    TOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = GetParent(control);
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    const bool known = SendMessageW(tips_, TTM_GETTOOLINFOW, 0, reinterpret_cast<LPARAM>(&tool));
    tool.lpszText = wide.data();
    SendMessageW(tips_, known ? TTM_UPDATETIPTEXTW : TTM_ADDTOOLW, 0,
                 reinterpret_cast<LPARAM>(&tool));
}

} // namespace cvl
