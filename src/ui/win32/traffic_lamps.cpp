#include "ui/win32/traffic_lamps.h"

#include "ui/picture_colours.h"

namespace cvl {

namespace {

constexpr const auto& kLamps = kLampLooks;
constexpr UINT_PTR kDimTimer = 1;
constexpr int kDot = 10;   // at 96 DPI
constexpr int kGap = 3;    // between a dot and its word
constexpr int kSpace = 10; // between one lamp and the next

} // namespace

TrafficLamps::TrafficLamps(HWND parent) {
    createWindow(L"CVL_Lamps", WS_CHILD | WS_VISIBLE, 0, parent, "");
    // The words are labels like the window's others; the lamps paint only their dots.
    for (std::size_t i = 0; i < kLamps.size(); ++i) {
        labels_[i] = makeLabel(handle(), kLamps[i].label, 0, SS_CENTERIMAGE);
    }
}

void TrafficLamps::light(Lamp lamp) {
    litAt_[static_cast<std::size_t>(lamp)] = GetTickCount64();
    InvalidateRect(handle(), nullptr, FALSE);
    SetTimer(handle(), kDimTimer, UINT(kGlowMs), nullptr);
}

bool TrafficLamps::isLit(Lamp lamp) const {
    const std::uint64_t at = litAt_[static_cast<std::size_t>(lamp)];
    return at != 0 && GetTickCount64() - at < kGlowMs;
}

int TrafficLamps::width(const DpiScale& scale) const {
    int total = 0;
    for (HWND label : labels_) {
        total += scale(kDot + kGap) + textWidth(label, textOf(label)) + scale(kSpace);
    }
    return total;
}

// Dot, word; dot, word: each word as wide as it is.
void TrafficLamps::layout() {
    const DpiScale scale(windowDpi(handle()));
    RECT area;
    GetClientRect(handle(), &area);
    int x = 0;
    for (std::size_t i = 0; i < labels_.size(); ++i) {
        dots_[i] = x;
        const int word = textWidth(labels_[i], textOf(labels_[i]));
        place(labels_[i], x + scale(kDot + kGap), 0, word + scale(2), area.bottom);
        x += scale(kDot + kGap) + word + scale(kSpace);
    }
}

LRESULT TrafficLamps::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_TIMER:
        KillTimer(handle(), kDimTimer);
        InvalidateRect(handle(), nullptr, FALSE);
        return 0;
    case WM_SETFONT:
        for (HWND label : labels_) {
            SendMessageW(label, WM_SETFONT, wParam, lParam);
        }
        layout();
        return 0;
    case WM_SIZE:
        layout();
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(handle(), &ps);
        paintDots(dc);
        EndPaint(handle(), &ps);
        return 0;
    }
    default:
        return NativeWindow::onMessage(message, wParam, lParam);
    }
}

void TrafficLamps::paintDots(HDC dc) {
    const DpiScale scale(windowDpi(handle()));
    RECT area;
    GetClientRect(handle(), &area);
    const int side = scale(kDot);
    for (std::size_t i = 0; i < kLamps.size(); ++i) {
        const int y = (area.bottom - side) / 2;
        const bool lit = isLit(static_cast<Lamp>(i));
        const Rgb colour = kLamps[i].colour;
        HBRUSH brush = CreateSolidBrush(lit ? RGB(colour.red, colour.green, colour.blue)
                                            : GetSysColor(COLOR_BTNSHADOW));
        HPEN pen = CreatePen(PS_SOLID, 1, GetSysColor(COLOR_3DDKSHADOW));
        HGDIOBJ oldBrush = SelectObject(dc, brush);
        HGDIOBJ oldPen = SelectObject(dc, pen);
        Ellipse(dc, dots_[i], y, dots_[i] + side, y + side);
        SelectObject(dc, oldBrush);
        SelectObject(dc, oldPen);
        DeleteObject(brush);
        DeleteObject(pen);
    }
}

} // namespace cvl
