// One service's page: its enable boxes and port box, whether its sockets are open, its
// request counts and last client. Clicks and keys go straight to the listeners; the page only
// mirrors what the status model says.
#pragma once

#include "services/service_id.h"
#include "ui/win32/native_window.h"

namespace cvl {

class ServiceListeners;
class StatusModel;

class ServicePage final : public NativeWindow {
public:
    ServicePage(HWND parent, ServiceId id, const StatusModel& status, ServiceListeners& listeners,
                ToolTips& tips);
    [[nodiscard]] ServiceId service() const { return id_; }
    void refresh();
    void layout(const DpiScale& scale);
    void setFonts(HFONT font, HFONT bold) { setPageFonts(handle(), title_, font, bold); }

    // Control ids, for the window's tests.
    enum Control { Master = 100, Tcp, Udp, Port };

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

    ServiceId id_;
    const StatusModel& status_;
    ServiceListeners& listeners_;
    ToolTips& tips_;
    HWND title_, description_, settingsGroup_, activityGroup_;
    HWND master_, tcp_, udp_, portLabel_, port_;
    // Activity: caption and value, row by row; the last row only on the NTP page.
    HWND captions_[6]{};
    HWND values_[6]{};
    int rows_ = 5;
    bool refreshing_ = false;
};

} // namespace cvl
