#include "ui/win32/qbk_buttons.h"

#include "platform/windows/wide_text.h"

#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace cvl {

namespace {

constexpr UINT kBaseDpi = 96;
constexpr UINT kOverInterval = 50; // ms: how soon a pointer that left is noticed
constexpr int kCustomPointer = 99;
// Sent to children after their window moved to a monitor of another DPI (Windows 10 1703).
constexpr UINT kDpiChangedAfterParent = 0x02E3;
constexpr LRESULT kStateHot = 0x0200; // BST_HOT, missing from older headers

// Filled by create() for the window it is about to make; a window made any other way (a dialog
// template) gets a button named after its window text.
thread_local std::unique_ptr<QbkButton>* pendingButton = nullptr;

UINT dpiOf(HWND window) {
    // Windows 10 only, and missing from older import libraries.
    using GetDpiForWindowCall = UINT(WINAPI*)(HWND);
    static const auto getDpiForWindow =
        reinterpret_cast<GetDpiForWindowCall>(reinterpret_cast<void (*)()>(
            GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
    const UINT dpi = getDpiForWindow != nullptr ? getDpiForWindow(window) : 0;
    return dpi != 0 ? dpi : kBaseDpi;
}

// Frame lines are one pixel at 96 DPI and stay whole pixels above it.
int lineWidth(UINT dpi) {
    return std::max(1, static_cast<int>((dpi + kBaseDpi / 2) / kBaseDpi));
}

int scaledToDpi(int size, UINT dpi) {
    return MulDiv(size, static_cast<int>(dpi), static_cast<int>(kBaseDpi));
}

COLORREF mix(COLORREF a, COLORREF b, double t) {
    const auto channel = [&](int shift) {
        const double from = (a >> shift) & 0xFF;
        const double to = (b >> shift) & 0xFF;
        return static_cast<COLORREF>(std::lround(from + (to - from) * t)) << shift;
    };
    return channel(0) | channel(8) | channel(16);
}

// Lighter above 1, darker below.
COLORREF shade(COLORREF color, double factor) {
    const auto channel = [&](int shift) {
        const double value = std::min(255.0, ((color >> shift) & 0xFF) * factor);
        return static_cast<COLORREF>(std::lround(value)) << shift;
    };
    return channel(0) | channel(8) | channel(16);
}

void fill(HDC dc, int x, int y, int width, int height, COLORREF color) {
    const RECT r{x, y, x + width, y + height};
    SetDCBrushColor(dc, color);
    FillRect(dc, &r, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

RECT toRect(const ButtonBox& box) {
    return {box.left, box.top, box.left + box.width, box.top + box.height};
}

// One frame line all round: top and left in one colour, bottom and right in the other.
void edge(HDC dc, int line, const ButtonBox& r, std::optional<COLORREF> topLeft,
          std::optional<COLORREF> bottomRight) {
    if (topLeft) {
        fill(dc, r.left, r.top, r.width - line, line, *topLeft);
        fill(dc, r.left, r.top, line, r.height - line, *topLeft);
    }
    if (bottomRight) {
        fill(dc, r.left, r.top + r.height - line, r.width, line, *bottomRight);
        fill(dc, r.left + r.width - line, r.top, line, r.height, *bottomRight);
    }
}

struct Colors {
    COLORREF face, text, shadow, highlight, darkShadow, accent, xpHover, xpPressed;
};

// Depth lines fading from the edge colours to the face.
void bevelFrame(HDC dc, int line, const ButtonBox& r, const Colors& c, int bevelDepth,
                bool sunken) {
    const int depth = std::min(bevelDepth, std::min(r.width, r.height) / line / 3);
    const COLORREF light = sunken ? c.darkShadow : c.highlight;
    const COLORREF dark = sunken ? c.highlight : c.darkShadow;
    for (int i = 0; i < depth; ++i) {
        const double t = static_cast<double>(i) / depth;
        edge(dc, line, r.inset(i * line), mix(light, c.face, t), mix(dark, c.face, t));
    }
}

void raisedFrame(HDC dc, int line, const ButtonBox& r, const Colors& c, int bevelDepth) {
    if (bevelDepth > 0) {
        return bevelFrame(dc, line, r, c, bevelDepth, false);
    }
    edge(dc, line, r, c.highlight, c.darkShadow);
    edge(dc, line, r.inset(line), std::nullopt, c.shadow);
}

void sunkenFrame(HDC dc, int line, const ButtonBox& r, const Colors& c, int bevelDepth) {
    if (bevelDepth > 0) {
        return bevelFrame(dc, line, r, c, bevelDepth, true);
    }
    edge(dc, line, r, c.darkShadow, c.highlight);
    edge(dc, line, r.inset(line), c.shadow, std::nullopt);
}

// Rounded corners cut in whole line steps rather than drawn as ellipses, which GDI renders
// lopsided at these small radii: `steps` lines are cut at each corner, in a diagonal.
void roundedOutline(HDC dc, const ButtonBox& r, int line, int steps, COLORREF color) {
    const int cut = steps * line;
    const int right = r.left + r.width - line;
    const int bottom = r.top + r.height - line;
    fill(dc, r.left + cut, r.top, r.width - 2 * cut, line, color);
    fill(dc, r.left + cut, bottom, r.width - 2 * cut, line, color);
    fill(dc, r.left, r.top + cut, line, r.height - 2 * cut, color);
    fill(dc, right, r.top + cut, line, r.height - 2 * cut, color);
    for (int i = 1; i < steps; ++i) {
        const int across = i * line;
        const int down = (steps - i) * line;
        fill(dc, r.left + across, r.top + down, line, line, color);
        fill(dc, right - across, r.top + down, line, line, color);
        fill(dc, r.left + across, bottom - down, line, line, color);
        fill(dc, right - across, bottom - down, line, line, color);
    }
}

// The area inside roundedOutline, the outline included.
HRGN roundedRegion(const ButtonBox& r, int line, int steps) {
    HRGN region = CreateRectRgn(0, 0, 0, 0);
    for (int i = 0; i <= steps; ++i) {
        const int across = i * line;
        const int down = (steps - i) * line;
        HRGN band = CreateRectRgn(r.left + across, r.top + down, r.left + r.width - across,
                                  r.top + r.height - down);
        CombineRgn(region, region, band, RGN_OR);
        DeleteObject(band);
    }
    return region;
}

TRIVERTEX vertex(int x, int y, COLORREF color) {
    return {x,
            y,
            static_cast<COLOR16>(GetRValue(color) << 8),
            static_cast<COLOR16>(GetGValue(color) << 8),
            static_cast<COLOR16>(GetBValue(color) << 8),
            0xFF00};
}

// This look never draws the dotted focus rectangle, so focus shows in the shading itself: a
// border in the focus colour with a faint inner ring, distinct from the hover ring.
void xpFrame(HDC dc, int line, const ButtonBox& r, const Colors& c, const FramePlan& plan,
             bool defaultColors) {
    const ButtonLookState state = plan.xpState;
    const bool pressed = state == ButtonLookState::Pressed;
    COLORREF base = c.face;
    if (!defaultColors && state == ButtonLookState::Hover) {
        base = c.xpHover;
    } else if (!defaultColors && pressed) {
        base = c.xpPressed;
    } else if (pressed) {
        base = shade(base, 1 / 1.12);
    }
    HRGN shape = roundedRegion(r, line, 2);
    SelectClipRgn(dc, shape);
    std::array<TRIVERTEX, 2> shading{
        vertex(r.left, r.top, pressed ? shade(base, 1 / 1.06) : shade(base, 1.12)),
        vertex(r.left + r.width, r.top + r.height,
               pressed ? shade(base, 1.04) : shade(base, 1 / 1.06))};
    GRADIENT_RECT whole{0, 1};
    GradientFill(dc, shading.data(), 2, &whole, 1, GRADIENT_FILL_RECT_V);
    SelectClipRgn(dc, nullptr);
    DeleteObject(shape);

    roundedOutline(dc, r, line, 2, plan.xpFocused ? c.accent : mix(c.face, c.text, 0.5));
    if (state == ButtonLookState::Hover && defaultColors) {
        roundedOutline(dc, r.inset(line), line, 1, c.accent);
        roundedOutline(dc, r.inset(2 * line), line, 1, mix(c.accent, base, 0.5));
    } else if (plan.xpFocused) {
        roundedOutline(dc, r.inset(line), line, 1, mix(c.face, c.accent, 0.43));
    }
}

// Which source cells each target cell covers, and how much of it: each target pixel is the
// average of what it covers, so a picture scaled down stays smooth and one scaled up by a
// whole factor stays sharp.
struct Tap {
    int source;
    double weight;
};
std::vector<std::vector<Tap>> coverage(int sourceSize, int targetSize) {
    std::vector<std::vector<Tap>> taps(static_cast<std::size_t>(targetSize));
    const double scale = static_cast<double>(sourceSize) / targetSize;
    for (int i = 0; i < targetSize; ++i) {
        const double from = i * scale;
        const double to = (i + 1) * scale;
        for (int j = static_cast<int>(from); j < sourceSize && j < to; ++j) {
            const double overlap = std::min(to, j + 1.0) - std::max(from, static_cast<double>(j));
            if (overlap > 0) {
                taps[static_cast<std::size_t>(i)].push_back({j, overlap / scale});
            }
        }
    }
    return taps;
}

// The picture at width x height as premultiplied BGRA, its MaskColor pixels transparent and,
// when greyed, its colours grey and faded towards the face.
std::vector<std::uint32_t> preparedPicture(const ButtonPicture& picture, int width, int height,
                                           COLORREF mask, std::optional<COLORREF> greyTowards) {
    std::vector<std::array<double, 4>> source(picture.pixels.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        const std::uint32_t p = picture.pixels[i];
        double r = (p >> 16) & 0xFF;
        double g = (p >> 8) & 0xFF;
        double b = p & 0xFF;
        const bool masked =
            RGB(static_cast<BYTE>(r), static_cast<BYTE>(g), static_cast<BYTE>(b)) == mask;
        const double a = masked ? 0 : ((p >> 24) & 0xFF) / 255.0;
        if (greyTowards) {
            const double grey = (r * 11 + g * 16 + b * 5) / 32;
            r = (grey + GetRValue(*greyTowards)) / 2;
            g = (grey + GetGValue(*greyTowards)) / 2;
            b = (grey + GetBValue(*greyTowards)) / 2;
        }
        source[i] = {b * a, g * a, r * a, a * 255};
    }
    const auto across = coverage(picture.width, width);
    const auto down = coverage(picture.height, height);
    std::vector<std::uint32_t> result(static_cast<std::size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::array<double, 4> sum{};
            for (const Tap& row : down[static_cast<std::size_t>(y)]) {
                for (const Tap& column : across[static_cast<std::size_t>(x)]) {
                    const auto& s = source[static_cast<std::size_t>(row.source) * picture.width +
                                           static_cast<std::size_t>(column.source)];
                    for (std::size_t k = 0; k < 4; ++k) {
                        sum[k] += s[k] * row.weight * column.weight;
                    }
                }
            }
            std::uint32_t pixel = 0;
            for (std::size_t k = 0; k < 4; ++k) {
                const auto byte = static_cast<std::uint32_t>(std::clamp(sum[k], 0.0, 255.0) + 0.5);
                pixel |= std::min<std::uint32_t>(byte, 255) << (8 * k);
            }
            result[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)] = pixel;
        }
    }
    return result;
}

HBITMAP topDownBitmap(int width, int height, void** bits) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, bits, nullptr, 0);
}

HCURSOR cursorFromPicture(const ButtonPicture& picture) {
    void* bits = nullptr;
    HBITMAP color = topDownBitmap(picture.width, picture.height, &bits);
    if (color == nullptr) {
        return nullptr;
    }
    std::copy(picture.pixels.begin(), picture.pixels.end(), static_cast<std::uint32_t*>(bits));
    HBITMAP mask = CreateBitmap(picture.width, picture.height, 1, 1, nullptr);
    ICONINFO info{FALSE, static_cast<DWORD>(picture.width / 2),
                  static_cast<DWORD>(picture.height / 2), mask, color};
    HCURSOR cursor = CreateIconIndirect(&info);
    DeleteObject(mask);
    DeleteObject(color);
    return cursor;
}

template <typename Id> HCURSOR systemCursor(Id id) {
    return LoadCursorW(nullptr, MAKEINTRESOURCEW(reinterpret_cast<ULONG_PTR>(id)));
}

ButtonFont fontValue(HFONT font, UINT dpi) {
    LOGFONTW log{};
    GetObjectW(font, sizeof log, &log);
    // Tenths of a point, as saved, so that a saved font comes back equal.
    const double tenths = std::round(std::abs(log.lfHeight) * 720.0 / dpi);
    return {utf8FromWide(log.lfFaceName), tenths / 10,
            log.lfWeight >= FW_BOLD,      log.lfItalic != 0,
            log.lfUnderline != 0,         log.lfStrikeOut != 0};
}

HFONT makeFont(const ButtonFont& font, UINT dpi) {
    if (font.points <= 0) {
        return nullptr;
    }
    LOGFONTW log{};
    log.lfHeight = -static_cast<LONG>(std::lround(font.points * dpi / 72));
    log.lfWeight = font.bold ? FW_BOLD : FW_NORMAL;
    log.lfItalic = font.italic;
    log.lfUnderline = font.underline;
    log.lfStrikeOut = font.strikeOut;
    log.lfCharSet = DEFAULT_CHARSET;
    const std::wstring face = wideFromUtf8(font.family);
    std::copy_n(face.begin(), std::min<std::size_t>(face.size(), LF_FACESIZE - 1), log.lfFaceName);
    return CreateFontIndirectW(&log);
}

int shiftState() {
    return (GetKeyState(VK_SHIFT) < 0 ? kShiftMask : 0) |
           (GetKeyState(VK_CONTROL) < 0 ? kCtrlMask : 0) |
           (GetKeyState(VK_MENU) < 0 ? kAltMask : 0);
}

int heldButtons(WPARAM keys) {
    return ((keys & MK_LBUTTON) != 0 ? kLeftMouse : 0) |
           ((keys & MK_RBUTTON) != 0 ? kRightMouse : 0) |
           ((keys & MK_MBUTTON) != 0 ? kMiddleMouse : 0);
}

MouseButton ruleButton(int button) {
    return button == kRightMouse  ? MouseButton::Right
           : button == kLeftMouse ? MouseButton::Left
                                  : MouseButton::Middle;
}

wchar_t upper(wchar_t c) {
    return static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(
        CharUpperW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(c)))));
}

// A handler may destroy the button, and with it the handler itself: call a copy.
template <typename Event, typename... Args> void raise(const Event& event, Args... args) {
    if (event) {
        const Event copy = event;
        copy(args...);
    }
}

// The address in the system's code page, as the shell's "open" of the A call takes it.
void openWithShell(HWND form, const std::string& url) {
    const std::wstring wide = wideFromUtf8(url);
    const int size = WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string address(static_cast<std::size_t>(size > 0 ? size : 1), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, address.data(), size, nullptr, nullptr);
    ShellExecuteA(form, "open", address.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

} // namespace

QbkButton::QbkButton(std::string_view name)
    : openMail(openWithShell)
    , navigate(openWithShell)
    , name_(name) {
    properties_.onChanged = [this](ButtonProperty p) {
        apply(p);
        raise(onPropertyChanged, ButtonProperties::name(p));
    };
}

QbkButton::~QbkButton() {
    if (ownFont_ != nullptr) {
        DeleteObject(ownFont_);
    }
    if (iconCursor_ != nullptr) {
        DestroyCursor(iconCursor_);
    }
}

QbkButton* QbkButton::create(HWND parent, int id, std::string_view name, const RECT& bounds) {
    static const bool registered = [] {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.style = CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW;
        windowClass.lpfnWndProc = windowProc;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.hCursor = systemCursor(IDC_ARROW);
        windowClass.lpszClassName = kClassName;
        return RegisterClassExW(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
    }();
    if (!registered) {
        return nullptr;
    }
    // Until WM_NCCREATE takes it, the button is ours; a window that fails after that frees it
    // on WM_NCDESTROY.
    std::unique_ptr<QbkButton> button(new QbkButton(name));
    std::unique_ptr<QbkButton>* const outer = std::exchange(pendingButton, &button);
    HWND window = CreateWindowExW(
        0, kClassName, wideFromUtf8(name).c_str(),
        WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, bounds.left, bounds.top,
        bounds.right - bounds.left, bounds.bottom - bounds.top, parent,
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    pendingButton = outer;
    return window != nullptr ? fromHandle(window) : nullptr;
}

QbkButton* QbkButton::fromHandle(HWND window) {
    std::array<wchar_t, 16> className{};
    if (window == nullptr || GetClassNameW(window, className.data(), className.size()) == 0 ||
        std::wstring_view(className.data()) != kClassName) {
        return nullptr;
    }
    return reinterpret_cast<QbkButton*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

LRESULT CALLBACK QbkButton::windowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        QbkButton* made = nullptr;
        if (pendingButton != nullptr) {
            made = std::exchange(pendingButton, nullptr)->release();
        } else {
            const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
            const bool named = create->lpszName != nullptr && !IS_INTRESOURCE(create->lpszName);
            made = new QbkButton(named ? utf8FromWide(create->lpszName) : std::string());
        }
        made->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(made));
    }
    auto* button = reinterpret_cast<QbkButton*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (button == nullptr) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        const LRESULT result = DefWindowProcW(window, message, wParam, lParam);
        delete button;
        return result;
    }
    return button->onMessage(message, wParam, lParam);
}

LRESULT QbkButton::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    // Messages a disabled button ignores even when sent to it directly.
    const bool enabled = properties_.enabled();
    switch (message) {
    case WM_CREATE:
        initProperties();
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(window_, &ps);
        paint(dc);
        EndPaint(window_, &ps);
        return 0;
    }
    case WM_PRINTCLIENT:
        paint(reinterpret_cast<HDC>(wParam));
        return 0;
    case WM_ERASEBKGND:
        return 1; // painted whole, double-buffered
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
    case WM_RBUTTONDBLCLK:
    case WM_MBUTTONDOWN:
    case WM_MBUTTONDBLCLK:
        if (enabled) {
            const bool right = message == WM_RBUTTONDOWN || message == WM_RBUTTONDBLCLK;
            const bool left = message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK;
            mouseDown(right ? kRightMouse : left ? kLeftMouse : kMiddleMouse, lParam);
        }
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
    case WM_MBUTTONUP:
        if (enabled) {
            mouseUp(message == WM_RBUTTONUP   ? kRightMouse
                    : message == WM_LBUTTONUP ? kLeftMouse
                                              : kMiddleMouse,
                    lParam);
        }
        return 0;
    case WM_MOUSEMOVE:
        if (enabled) {
            mouseMove(wParam, lParam);
        }
        return 0;
    case WM_TIMER:
        if (wParam == kOverTimer) {
            react(behaviour_.hoverTick(pointerOverButton()));
        }
        return 0;
    case WM_CAPTURECHANGED:
        // Someone else took the mouse: the press ends without a click.
        if (captured_ && reinterpret_cast<HWND>(lParam) != window_) {
            captured_ = false;
            if (behaviour_.pressed()) {
                react(behaviour_.mouseUp(ruleButton(lastButton_), false));
            }
        }
        return 0;
    case WM_KEYDOWN:
    case WM_KEYUP:
        if (enabled) {
            key(message == WM_KEYDOWN, wParam, lParam);
        }
        return 0;
    case WM_CHAR:
        if (enabled) {
            raise(onKeyPress, static_cast<wchar_t>(wParam));
        }
        return 0;
    case WM_SYSCHAR:
        if (enabled && matchesAccessKey(static_cast<wchar_t>(wParam))) {
            click();
            return 0;
        }
        break;
    case WM_GETDLGCODE: {
        // Enter comes to the button itself, so that it clicks through the rules rather than
        // the dialog pressing its default button past them.
        LRESULT code = DLGC_BUTTON | (default_ ? DLGC_DEFPUSHBUTTON : DLGC_UNDEFPUSHBUTTON);
        const auto* msg = reinterpret_cast<const MSG*>(lParam);
        if (msg != nullptr && (msg->message == WM_KEYDOWN || msg->message == WM_CHAR) &&
            msg->wParam == VK_RETURN) {
            code |= DLGC_WANTMESSAGE;
        }
        return code;
    }
    case WM_SETFOCUS:
        react(behaviour_.focusIn());
        return 0;
    case WM_KILLFOCUS:
        react(behaviour_.focusOut());
        return 0;
    case WM_ENABLE:
        if (!syncing_) {
            syncing_ = true;
            set(ButtonProperty::Enabled, wParam != 0);
            syncing_ = false;
        }
        return 0;
    case WM_SETTEXT:
        if (!syncing_) {
            syncing_ = true;
            const auto* text = reinterpret_cast<const wchar_t*>(lParam);
            set(ButtonProperty::Caption, text != nullptr ? utf8FromWide(text) : std::string());
            syncing_ = false;
        }
        break;
    case WM_SETFONT:
        hostFont_ = reinterpret_cast<HFONT>(wParam);
        if (hostFont_ != nullptr) {
            hostFontValue_ = fontValue(hostFont_, dpi());
            set(ButtonProperty::Font, hostFontValue_);
        }
        if (LOWORD(lParam) != 0) {
            Refresh();
        }
        return 0;
    case WM_GETFONT:
        return reinterpret_cast<LRESULT>(drawingFont());
    case WM_SETCURSOR:
        if (LOWORD(lParam) == HTCLIENT) {
            if (HCURSOR shown = cursor(); shown != nullptr) {
                SetCursor(shown);
                return TRUE;
            }
        }
        break;
    case BM_CLICK:
        if (enabled) {
            const std::weak_ptr<int> life = life_;
            mouseDown(kLeftMouse, 0);
            if (!life.expired()) {
                mouseUp(kLeftMouse, 0);
            }
        }
        return 0;
    case BM_SETSTYLE:
        setDefault((wParam & BS_TYPEMASK) == BS_DEFPUSHBUTTON);
        return 0;
    case BM_GETSTATE:
        return (behaviour_.pressed() ? BST_PUSHED : 0) | (behaviour_.focused() ? BST_FOCUS : 0) |
               (behaviour_.hovering() ? kStateHot : 0);
    case WM_UPDATEUISTATE:
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
    case kDpiChangedAfterParent:
        Refresh();
        break;
    default:
        break;
    }
    return DefWindowProcW(window_, message, wParam, lParam);
}

void QbkButton::initProperties() {
    properties_.initProperties(name_, parentFont());
    applyAll();
}

void QbkButton::load(const ButtonPropertyStore& store) {
    properties_.load(store);
    applyAll();
}

bool QbkButton::set(ButtonProperty property, const ButtonValue& value) {
    return properties_.set(property, value);
}

bool QbkButton::set(std::string_view name, const ButtonValue& value) {
    const auto property = ButtonProperties::named(name);
    return property && set(*property, value);
}

void QbkButton::applyAll() {
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        apply(ButtonProperty(i));
    }
}

// Caption and Enabled are also the window's own, so that the dialog manager finds the access key
// and the system keeps input from a disabled button.
void QbkButton::apply(ButtonProperty p) {
    switch (p) {
    case ButtonProperty::Caption:
        if (!syncing_) {
            syncing_ = true;
            SetWindowTextW(window_, wideFromUtf8(properties_.caption()).c_str());
            syncing_ = false;
        }
        break;
    case ButtonProperty::Enabled:
        if (!syncing_) {
            syncing_ = true;
            EnableWindow(window_, properties_.enabled());
            syncing_ = false;
        }
        if (!properties_.enabled()) {
            releaseMouse();
            react(behaviour_.disable());
        }
        break;
    case ButtonProperty::MousePointer:
    case ButtonProperty::MouseIcon:
        if (iconCursor_ != nullptr) {
            DestroyCursor(iconCursor_);
            iconCursor_ = nullptr;
        }
        if (properties_.number(ButtonProperty::MousePointer) == kCustomPointer &&
            !properties_.picture(ButtonProperty::MouseIcon).empty()) {
            iconCursor_ = cursorFromPicture(properties_.picture(ButtonProperty::MouseIcon));
        }
        break;
    default:
        break;
    }
    Refresh();
}

COLORREF QbkButton::resolveColor(ColorValue value) {
    if (isSystemColor(value)) {
        return GetSysColor(static_cast<int>(value & 0xFF));
    }
    return value & 0xFFFFFF;
}

void QbkButton::setDefault(bool on) {
    const LONG_PTR style = GetWindowLongPtrW(window_, GWL_STYLE) & ~BS_TYPEMASK;
    SetWindowLongPtrW(window_, GWL_STYLE, style | (on ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON));
    if (default_ != on) {
        default_ = on;
        Refresh();
    }
}

bool QbkButton::matchesAccessKey(wchar_t key) const {
    const std::wstring caption = wideFromUtf8(properties_.caption());
    for (std::size_t i = 0; i + 1 < caption.size(); ++i) {
        if (caption[i] != L'&') {
            continue;
        }
        if (caption[i + 1] != L'&') {
            return upper(caption[i + 1]) == upper(key);
        }
        ++i; // "&&" is an ampersand
    }
    return false;
}

void QbkButton::click() {
    if (properties_.enabled()) {
        react({.click = true});
    }
}

void QbkButton::GoToURL() {
    const std::string url = properties_.text(ButtonProperty::Url);
    HWND form = GetAncestor(window_, GA_ROOT);
    switch (linkAction(url)) {
    case LinkAction::Mail:
        raise(openMail, form, url);
        break;
    case LinkAction::Navigate:
        raise(navigate, form, url);
        break;
    case LinkAction::None:
        break;
    }
}

bool QbkButton::react(const ButtonReaction& reaction) {
    const std::weak_ptr<int> life = life_;
    if (reaction.startHoverTimer) {
        SetTimer(window_, kOverTimer, kOverInterval, nullptr);
    }
    if (reaction.stopHoverTimer) {
        KillTimer(window_, kOverTimer);
    }
    if (reaction.redraw) {
        Refresh();
    }
    if (reaction.mouseIn) {
        raise(onMouseIn, lastShift_);
    }
    if (!life.expired() && reaction.mouseOut) {
        raise(onMouseOut, lastShift_);
    }
    if (!life.expired() && reaction.click) {
        const HWND window = window_;
        raise(onClick);
        if (!life.expired()) {
            SendMessageW(GetParent(window), WM_COMMAND, MAKEWPARAM(id(), BN_CLICKED),
                         reinterpret_cast<LPARAM>(window));
        }
        if (!life.expired()) {
            GoToURL();
        }
    }
    return !life.expired(); // a click may close the dialog
}

void QbkButton::remember(int button, int shift, LPARAM at) {
    lastButton_ = button;
    lastShift_ = shift;
    lastPosition_ = {GET_X_LPARAM(at), GET_Y_LPARAM(at)};
}

bool QbkButton::inside(POINT at) const {
    RECT client;
    GetClientRect(window_, &client);
    return PtInRect(&client, at) != FALSE;
}

void QbkButton::mouseDown(int button, LPARAM at) {
    remember(button, shiftState(), at);
    if (button != kRightMouse && GetFocus() != window_) {
        SetFocus(window_); // as any push button; the rules then show the focus
    }
    if (!react(behaviour_.mouseDown(ruleButton(button)))) {
        return;
    }
    if (button != kRightMouse) {
        SetCapture(window_); // again after a double click
        captured_ = true;
    }
    raise(onMouseDown, lastButton_, lastShift_, lastPosition_.x, lastPosition_.y);
}

void QbkButton::mouseUp(int button, LPARAM at) {
    remember(button, shiftState(), at);
    const ButtonReaction reaction = behaviour_.mouseUp(ruleButton(button), inside(lastPosition_));
    releaseMouse();
    if (!react(reaction)) {
        return;
    }
    raise(onMouseUp, lastButton_, lastShift_, lastPosition_.x, lastPosition_.y);
}

void QbkButton::mouseMove(WPARAM keys, LPARAM at) {
    remember(heldButtons(keys), shiftState(), at);
    if (!react(behaviour_.mouseMove(inside(lastPosition_)))) {
        return;
    }
    raise(onMouseMove, lastButton_, lastShift_, lastPosition_.x, lastPosition_.y);
}

void QbkButton::key(bool down, WPARAM virtualKey, LPARAM flags) {
    const std::weak_ptr<int> life = life_;
    raise(down ? onKeyDown : onKeyUp, static_cast<int>(virtualKey), shiftState());
    if (life.expired()) {
        return;
    }
    const ButtonKey which = virtualKey == VK_SPACE    ? ButtonKey::Space
                            : virtualKey == VK_RETURN ? ButtonKey::Enter
                                                      : ButtonKey::Other;
    const bool autoRepeat = down && (flags & (1 << 30)) != 0;
    react(down ? behaviour_.keyDown(which, autoRepeat) : behaviour_.keyUp(which, false));
}

void QbkButton::releaseMouse() {
    if (captured_) {
        captured_ = false;
        if (GetCapture() == window_) {
            ReleaseCapture();
        }
    }
}

bool QbkButton::pointerOverButton() const {
    POINT at;
    return GetCursorPos(&at) && WindowFromPoint(at) == window_;
}

UINT QbkButton::dpi() const {
    return dpiOf(window_);
}

ButtonFont QbkButton::parentFont() const {
    HWND parent = GetParent(window_);
    if (auto* font = reinterpret_cast<HFONT>(SendMessageW(parent, WM_GETFONT, 0, 0))) {
        return fontValue(font, dpi());
    }
    // A window without a font of its own shows the dialog font, made for the system DPI.
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    HFONT messageFont = CreateFontIndirectW(&metrics.lfMessageFont);
    HDC screen = GetDC(nullptr);
    const UINT systemDpi = static_cast<UINT>(GetDeviceCaps(screen, LOGPIXELSY));
    ReleaseDC(nullptr, screen);
    ButtonFont value = fontValue(messageFont, systemDpi);
    DeleteObject(messageFont);
    return value;
}

HFONT QbkButton::drawingFont() const {
    const ButtonFont& wanted = properties_.font();
    if (hostFont_ != nullptr && wanted == hostFontValue_) {
        return hostFont_;
    }
    const UINT now = dpi();
    if (ownFont_ == nullptr || ownFontValue_ != wanted || ownFontDpi_ != now) {
        if (ownFont_ != nullptr) {
            DeleteObject(ownFont_);
        }
        ownFont_ = makeFont(wanted, now);
        ownFontValue_ = wanted;
        ownFontDpi_ = now;
    }
    return ownFont_ != nullptr ? ownFont_ : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

HCURSOR QbkButton::cursor() const {
    // The usual pointer numbers 1-15; 4 (an icon) has no equivalent and shows the arrow.
    static const std::array<decltype(IDC_ARROW), 16> kShapes{
        IDC_ARROW,    IDC_ARROW,       IDC_CROSS,    IDC_IBEAM,  IDC_ARROW,   IDC_SIZEALL,
        IDC_SIZENESW, IDC_SIZENS,      IDC_SIZENWSE, IDC_SIZEWE, IDC_UPARROW, IDC_WAIT,
        IDC_NO,       IDC_APPSTARTING, IDC_HELP,     IDC_SIZEALL};
    const int pointer = properties_.number(ButtonProperty::MousePointer);
    if (pointer == kCustomPointer) {
        return iconCursor_;
    }
    if (pointer > 0 && pointer < static_cast<int>(kShapes.size())) {
        return systemCursor(kShapes[static_cast<std::size_t>(pointer)]);
    }
    return nullptr; // the class's arrow, or what the parent shows
}

SIZE QbkButton::preferredSize() const {
    const UINT d = dpi();
    const int line = lineWidth(d);
    const std::wstring caption = wideFromUtf8(properties_.caption());
    RECT text{};
    if (!caption.empty()) {
        HDC dc = GetDC(window_);
        const HGDIOBJ old = SelectObject(dc, drawingFont());
        DrawTextW(dc, caption.c_str(), -1, &text, DT_CALCRECT);
        SelectObject(dc, old);
        ReleaseDC(window_, dc);
    }
    const auto [pw, ph] = properties_.pictureDrawSize(false);
    const ButtonBox content =
        contentSize(scaledToDpi(pw, d), scaledToDpi(ph, d), text.right, text.bottom,
                    properties_.number(ButtonProperty::PicturePosition));
    const int inset =
        line * contentInset(properties_.style(), properties_.number(ButtonProperty::Bevel),
                            properties_.number(ButtonProperty::BevelDepth));
    return {std::max(scaledToDpi(75, d), content.width + 2 * inset + scaledToDpi(12, d)),
            std::max(scaledToDpi(23, d), content.height + 2 * inset + scaledToDpi(4, d))};
}

void QbkButton::paint(HDC target) const {
    RECT client;
    GetClientRect(window_, &client);
    if (client.right <= 0 || client.bottom <= 0) {
        return;
    }
    // Drawn whole off-screen and copied at once, so that nothing flickers.
    HDC dc = CreateCompatibleDC(target);
    HBITMAP bitmap = CreateCompatibleBitmap(target, client.right, client.bottom);
    if (dc == nullptr || bitmap == nullptr) {
        if (bitmap != nullptr) {
            DeleteObject(bitmap);
        }
        if (dc != nullptr) {
            DeleteDC(dc);
        }
        paintOn(target, client);
        return;
    }
    const HGDIOBJ old = SelectObject(dc, bitmap);
    paintOn(dc, client);
    BitBlt(target, 0, 0, client.right, client.bottom, dc, 0, 0, SRCCOPY);
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
}

void QbkButton::paintBackground(HDC dc, const RECT& client) const {
    HWND parent = GetParent(window_);
    if (parent == nullptr) {
        return;
    }
    // The parent paints itself as if this button were not there, moved so that our corner is
    // its origin.
    POINT corner{0, 0};
    MapWindowPoints(window_, parent, &corner, 1);
    POINT oldOrigin;
    SetWindowOrgEx(dc, corner.x, corner.y, &oldOrigin);
    const int saved = SaveDC(dc);
    IntersectClipRect(dc, corner.x, corner.y, corner.x + client.right, corner.y + client.bottom);
    SendMessageW(parent, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0);
    SendMessageW(parent, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
    RestoreDC(dc, saved);
    SetWindowOrgEx(dc, oldOrigin.x, oldOrigin.y, nullptr);
}

void QbkButton::paintOn(HDC dc, const RECT& client) const {
    const ButtonProperties& p = properties_;
    const bool enabled = p.enabled();
    const UINT d = dpi();
    const int line = lineWidth(d);
    const ButtonBox r{0, 0, client.right, client.bottom};

    FrameInputs in;
    in.style = p.style();
    in.state = behaviour_.look(enabled);
    in.isDefault = default_;
    in.focused = behaviour_.focused();
    in.showFocusRect = p.flag(ButtonProperty::ShowFocusRect);
    in.borderAlways = p.flag(ButtonProperty::XpShowBorderAlways);
    in.bevel = p.number(ButtonProperty::Bevel);
    in.bevelDepth = p.number(ButtonProperty::BevelDepth);
    const FramePlan plan = planFrame(in);

    const Colors c{resolveColor(p.color(ButtonProperty::BackColor)),
                   enabled ? resolveColor(p.color(ButtonProperty::ForeColor))
                           : GetSysColor(COLOR_GRAYTEXT),
                   GetSysColor(COLOR_BTNSHADOW),
                   GetSysColor(COLOR_3DHILIGHT),
                   GetSysColor(COLOR_3DDKSHADOW),
                   GetSysColor(COLOR_HIGHLIGHT),
                   resolveColor(p.color(ButtonProperty::XpColorHover)),
                   resolveColor(p.color(ButtonProperty::XpColorPressed))};

    fill(dc, 0, 0, r.width, r.height, c.face);
    if (p.flag(ButtonProperty::TransparentBg)) {
        paintBackground(dc, client);
    }

    ButtonBox frame = r;
    if (plan.outerLine) {
        edge(dc, line, frame, c.darkShadow, c.darkShadow);
        frame = frame.inset(line);
    }
    switch (plan.kind) {
    case FrameKind::Raised:
        raisedFrame(dc, line, frame, c, plan.bevelDepth);
        break;
    case FrameKind::Sunken:
        sunkenFrame(dc, line, frame, c, plan.bevelDepth);
        break;
    case FrameKind::Outline:
        edge(dc, line, r, c.text, c.text);
        break;
    case FrameKind::Xp:
        xpFrame(dc, line, r, c, plan, p.flag(ButtonProperty::XpDefaultColors));
        break;
    case FrameKind::None:
        break;
    }

    const int inset = plan.inset * line;
    const RECT focusRect = toRect(r.inset(inset + line));
    ButtonBox area = r.inset(inset + 2 * line);
    if (plan.contentPushed) {
        area.left += line;
        area.top += line;
    }
    const HGDIOBJ oldFont = SelectObject(dc, drawingFont());
    const std::wstring caption = wideFromUtf8(p.caption());
    // Access keys stay hidden until the keyboard is used, as the window's own setting says.
    const UINT hidePrefix =
        (SendMessageW(window_, WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL) != 0 ? DT_HIDEPREFIX : 0;
    RECT textSize{};
    if (!caption.empty()) {
        DrawTextW(dc, caption.c_str(), -1, &textSize, DT_CALCRECT | hidePrefix);
    }
    const auto [pw, ph] = p.pictureDrawSize(behaviour_.hovering());
    const ButtonPlacement at =
        placeContent(area, scaledToDpi(pw, d), scaledToDpi(ph, d), textSize.right, textSize.bottom,
                     p.number(ButtonProperty::PicturePosition));

    paintPicture(dc, at.picture, c.face);
    if (plan.focusRect) {
        DrawFocusRect(dc, &focusRect);
    }
    if (!caption.empty()) {
        RECT textRect = toRect(at.text);
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, c.text);
        DrawTextW(dc, caption.c_str(), -1, &textRect, DT_CENTER | DT_NOCLIP | hidePrefix);
    }
    SelectObject(dc, oldFont);
}

void QbkButton::paintPicture(HDC dc, const ButtonBox& box, COLORREF face) const {
    const ButtonPicture& picture = currentPicture();
    if (picture.empty() || box.empty() ||
        picture.pixels.size() != static_cast<std::size_t>(picture.width) * picture.height) {
        return;
    }
    const COLORREF mask = resolveColor(properties_.color(ButtonProperty::MaskColor));
    const std::vector<std::uint32_t> pixels =
        preparedPicture(picture, box.width, box.height, mask,
                        properties_.enabled() ? std::nullopt : std::optional<COLORREF>(face));
    void* bits = nullptr;
    HBITMAP bitmap = topDownBitmap(box.width, box.height, &bits);
    if (bitmap == nullptr) {
        return;
    }
    std::copy(pixels.begin(), pixels.end(), static_cast<std::uint32_t*>(bits));
    HDC source = CreateCompatibleDC(dc);
    const HGDIOBJ old = SelectObject(source, bitmap);
    const BLENDFUNCTION blend{AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
    AlphaBlend(dc, box.left, box.top, box.width, box.height, source, 0, 0, box.width, box.height,
               blend);
    SelectObject(source, old);
    DeleteDC(source);
    DeleteObject(bitmap);
}

} // namespace cvl
