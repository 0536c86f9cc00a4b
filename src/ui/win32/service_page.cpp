#include "ui/win32/service_page.h"

#include "core/service_listeners.h"
#include "core/service_table.h"
#include "core/status_model.h"

#include <commctrl.h>

namespace cvl {

namespace {

constexpr const char* kRowCaptions[6]{"TCP listener:", "UDP socket:",        "TCP requests:",
                                      "UDP requests:", "Last client shown:", "Last reply:"};

void check(HWND box, bool on) {
    if ((SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED) != on) {
        SendMessageW(box, BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0);
    }
}

bool checked(HWND box) {
    return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

} // namespace

ServicePage::ServicePage(HWND parent, ServiceId id, const StatusModel& status,
                         ServiceListeners& listeners, ToolTips& tips)
    : id_(id)
    , status_(status)
    , listeners_(listeners)
    , tips_(tips) {
    const ServiceRow& row = serviceRow(id);
    const ServiceStatus service = status.service(id);
    createWindow(L"CVL_Page", WS_CHILD | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT, parent, row.title);
    title_ = makeLabel(handle(), row.title);
    description_ = makeLabel(handle(), service.description);
    settingsGroup_ = makeGroup(handle(), "Service");
    master_ = makeCheckBox(handle(), "Enable the " + service.name + " service", Master);
    tcp_ = makeCheckBox(handle(), "TCP", Tcp);
    udp_ = makeCheckBox(handle(), "UDP", Udp);
    portLabel_ = makeLabel(handle(), "Port:");
    port_ = makeEdit(handle(), Port);
    // Enter in the port box is the key that restarts the service on the typed port.
    onEnterKey(port_, [this] {
        listeners_.portKeyPressed(id_, 13);
        refresh();
    });
    activityGroup_ = makeGroup(handle(), "Activity");
    rows_ = id == ServiceId::Ntp ? 6 : 5;
    for (int i = 0; i < rows_; ++i) {
        captions_[i] = makeLabel(handle(), kRowCaptions[i]);
        values_[i] = makeLabel(handle(), "");
    }
    refresh();
}

LRESULT ServicePage::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        layout(DpiScale(windowDpi(handle())));
        return 0;
    case WM_COMMAND: {
        if (refreshing_) {
            return 0;
        }
        const int control = LOWORD(wParam);
        const int code = HIWORD(wParam);
        if (code == BN_CLICKED && control == Master) {
            listeners_.masterClicked(id_, checked(master_));
        } else if (code == BN_CLICKED && control == Tcp) {
            listeners_.tcpBoxClicked(id_, checked(tcp_));
        } else if (code == BN_CLICKED && control == Udp) {
            listeners_.udpBoxClicked(id_, checked(udp_));
        } else if (code == EN_CHANGE && control == Port) {
            listeners_.portTextChanged(id_, textOf(port_));
        } else {
            return 0;
        }
        refresh();
        return 0;
    }
    default:
        return NativeWindow::onMessage(message, wParam, lParam);
    }
}

void ServicePage::layout(const DpiScale& s) {
    RECT area;
    GetClientRect(handle(), &area);
    const int width = area.right - s(16);
    int y = s(4);
    place(title_, s(8), y, width, s(20));
    y += s(24);
    place(description_, s(8), y, width, s(34));
    y += s(40);
    place(settingsGroup_, s(8), y, width, s(104));
    place(master_, s(20), y + s(22), width - s(24), s(20));
    place(tcp_, s(20), y + s(48), s(70), s(20));
    place(udp_, s(96), y + s(48), s(70), s(20));
    place(portLabel_, s(20), y + s(77), s(44), s(18));
    place(port_, s(68), y + s(74), s(80), s(23));
    y += s(114);
    place(activityGroup_, s(8), y, width, s(30) + rows_ * s(22));
    for (int i = 0; i < rows_; ++i) {
        place(captions_[i], s(20), y + s(22) + i * s(22), s(130), s(18));
        place(values_[i], s(154), y + s(22) + i * s(22), width - s(150), s(18));
    }
}

void ServicePage::refresh() {
    refreshing_ = true; // setting a box's state here is not a click
    const ServiceStatus service = status_.service(id_);
    const ServiceControls& controls = service.controls;
    check(master_, controls.master);
    check(tcp_, controls.tcp);
    check(udp_, controls.udp);
    EnableWindow(tcp_, controls.transportBoxesEnabled());
    EnableWindow(udp_, controls.transportBoxesEnabled());
    if (textOf(port_) != controls.portText) {
        setText(port_, controls.portText);
    }
    tips_.setTip(port_, controls.portToolTip);
    const std::string* values[6]{&service.tcpState,    &service.udpState,   &service.tcpRequests,
                                 &service.udpRequests, &service.lastClient, &service.lastReply};
    for (int i = 0; i < rows_; ++i) {
        showText(values_[i], *values[i]);
    }
    refreshing_ = false;
}

} // namespace cvl
