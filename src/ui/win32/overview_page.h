// The tree's first node: whom the server serves, whom it asked and what it got, and every
// service's sockets and counters in a list.
#pragma once

#include "ui/win32/native_window.h"

#include <array>

namespace cvl {

class StatusModel;

class OverviewPage final : public NativeWindow {
public:
    OverviewPage(HWND parent, const StatusModel& status);
    void refresh();
    void layout(const DpiScale& scale);
    void setFonts(HFONT font, HFONT bold) { setPageFonts(handle(), title_, font, bold); }

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

    const StatusModel& status_;
    HWND title_;
    // The form's rows: a caption and its value; rows that do not apply are hidden.
    std::array<HWND, 6> captions_{};
    std::array<HWND, 6> values_{};
    HWND services_;
};

} // namespace cvl
