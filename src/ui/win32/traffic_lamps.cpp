#include "ui/win32/traffic_lamps.h"

namespace cvl {

namespace {

struct LampLook {
    const wchar_t* label;
    COLORREF colour;
};
constexpr std::array<LampLook, 4> kLamps{{{L"IN", RGB(0x2E, 0xA0, 0x43)},
                                          {L"OUT", RGB(0x1F, 0x6F, 0xEB)},
                                          {L"TCP", RGB(0xD9, 0x8E, 0x04)},
                                          {L"UDP", RGB(0x8B, 0x3F, 0xD9)}}};
constexpr UINT_PTR kDimTimer = 1;

} // namespace

TrafficLamps::TrafficLamps(HWND parent) {
    createWindow(L"CVL_Lamps", WS_CHILD | WS_VISIBLE, 0, parent, "");
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

LRESULT TrafficLamps::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_TIMER:
        KillTimer(handle(), kDimTimer);
        InvalidateRect(handle(), nullptr, FALSE);
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(handle(), &ps);
        RECT area;
        GetClientRect(handle(), &area);
        // Drawn off screen first, so that a lamp going out does not flicker.
        HDC buffer = CreateCompatibleDC(dc);
        HBITMAP bitmap = CreateCompatibleBitmap(dc, area.right, area.bottom);
        HGDIOBJ old = SelectObject(buffer, bitmap);
        paint(buffer, area);
        BitBlt(dc, 0, 0, area.right, area.bottom, buffer, 0, 0, SRCCOPY);
        SelectObject(buffer, old);
        DeleteObject(bitmap);
        DeleteDC(buffer);
        EndPaint(handle(), &ps);
        return 0;
    }
    default:
        return NativeWindow::onMessage(message, wParam, lParam);
    }
}

void TrafficLamps::paint(HDC dc, const RECT& area) {
    const DpiScale scale(windowDpi(handle()));
    FillRect(dc, &area, GetSysColorBrush(COLOR_BTNFACE));
    HGDIOBJ oldFont = SelectObject(
        dc, reinterpret_cast<HFONT>(SendMessageW(GetParent(handle()), WM_GETFONT, 0, 0)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, GetSysColor(COLOR_BTNTEXT));
    const int slot = (area.right - area.left) / int(kLamps.size());
    const int side = scale(10);
    for (std::size_t i = 0; i < kLamps.size(); ++i) {
        const int x = area.left + int(i) * slot + scale(2);
        const int y = (area.bottom - side) / 2;
        const bool lit = isLit(static_cast<Lamp>(i));
        HBRUSH brush = CreateSolidBrush(lit ? kLamps[i].colour : GetSysColor(COLOR_BTNSHADOW));
        HPEN pen = CreatePen(PS_SOLID, 1, GetSysColor(COLOR_3DDKSHADOW));
        HGDIOBJ oldBrush = SelectObject(dc, brush);
        HGDIOBJ oldPen = SelectObject(dc, pen);
        Ellipse(dc, x, y, x + side, y + side);
        SelectObject(dc, oldBrush);
        SelectObject(dc, oldPen);
        DeleteObject(brush);
        DeleteObject(pen);
        RECT text{x + side + scale(3), area.top, x + slot, area.bottom};
        DrawTextW(dc, kLamps[i].label, -1, &text, DT_LEFT | DT_VCENTER | DT_SINGLELINE);
    }
    SelectObject(dc, oldFont);
}

} // namespace cvl
