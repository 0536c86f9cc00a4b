#include "ui/win32/overview_page.h"

#include "core/service_table.h"
#include "core/status_model.h"
#include "platform/windows/wide_text.h"

#include <commctrl.h>

namespace cvl {

namespace {

constexpr std::array<const char*, 6> kCaptions{
    "Clients:",   "Last query:",           "Next query:",
    "No answer:", "Last synchronisation:", "Reference server:"};
constexpr std::array<const char*, 4> kColumns{"Service", "Sockets", "TCP requests", "UDP requests"};

void setCell(HWND list, int row, int column, const std::string& text) {
    std::wstring wide = wideFromUtf8(text);
    wchar_t shown[256] = L"";
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = shown;
    item.cchTextMax = 256;
    SendMessageW(list, LVM_GETITEMTEXTW, WPARAM(row), reinterpret_cast<LPARAM>(&item));
    if (wide != shown) {
        item.pszText = wide.data();
        SendMessageW(list, LVM_SETITEMTEXTW, WPARAM(row), reinterpret_cast<LPARAM>(&item));
    }
}

} // namespace

OverviewPage::OverviewPage(HWND parent, const StatusModel& status)
    : status_(status) {
    createWindow(L"CVL_Page", WS_CHILD | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT, parent,
                 "CVL Servers");
    title_ = makeLabel(handle(), "CVL Servers");
    for (std::size_t i = 0; i < kCaptions.size(); ++i) {
        captions_[i] = makeLabel(handle(), kCaptions[i]);
        values_[i] = makeLabel(handle(), "", 0, SS_EDITCONTROL);
    }
    services_ = makeControl(handle(), WC_LISTVIEWW, "",
                            LVS_REPORT | LVS_NOSORTHEADER | LVS_SINGLESEL, 0, WS_EX_CLIENTEDGE);
    // A cut socket line shows whole when the pointer rests on it.
    ListView_SetExtendedListViewStyle(services_,
                                      LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP);
    for (std::size_t c = 0; c < kColumns.size(); ++c) {
        std::wstring text = wideFromUtf8(kColumns[c]);
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.pszText = text.data();
        column.cx = 100;
        column.iSubItem = int(c);
        SendMessageW(services_, LVM_INSERTCOLUMNW, c, reinterpret_cast<LPARAM>(&column));
    }
    for (std::size_t r = 0; r < kServiceCount; ++r) {
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = int(r);
        item.pszText = const_cast<wchar_t*>(L"");
        SendMessageW(services_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
    refresh();
}

LRESULT OverviewPage::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_SIZE) {
        layout(DpiScale(windowDpi(handle())));
        return 0;
    }
    return NativeWindow::onMessage(message, wParam, lParam);
}

void OverviewPage::layout(const DpiScale& s) {
    RECT area;
    GetClientRect(handle(), &area);
    const int width = area.right - s(8);
    const int captionWidth = s(150);
    int y = s(4);
    place(title_, s(8), y, width - s(8), s(20));
    y += s(26);
    for (std::size_t i = 0; i < captions_.size(); ++i) {
        if (!isShown(values_[i])) {
            ShowWindow(captions_[i], SW_HIDE);
            continue;
        }
        ShowWindow(captions_[i], SW_SHOWNA);
        // Long answers (the unanswered notice, a result) wrap onto further lines.
        const int valueWidth = width - captionWidth - s(8);
        const int height = std::max(s(18), wrappedHeight(values_[i], valueWidth));
        place(captions_[i], s(8), y, captionWidth, s(18));
        place(values_[i], s(8) + captionWidth, y, valueWidth, height);
        y += height + s(4);
    }
    y += s(6);
    place(services_, s(8), y, width - s(8), area.bottom - y - s(4));
    const int listWidth = width - s(8) - GetSystemMetrics(SM_CXVSCROLL);
    const int numbers = s(90);
    ListView_SetColumnWidth(services_, 0, s(110));
    ListView_SetColumnWidth(services_, 1, std::max(s(120), listWidth - s(110) - 2 * numbers));
    ListView_SetColumnWidth(services_, 2, numbers);
    ListView_SetColumnWidth(services_, 3, numbers);
}

void OverviewPage::refresh() {
    const OverviewStatus overview = status_.overview();
    const std::array<const std::string*, 6> lines{&overview.clients,    &overview.lastQuery,
                                                  &overview.nextQuery,  &overview.unanswered,
                                                  &overview.syncResult, &overview.reference};
    bool rowsChanged = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        // A new text may wrap onto more or fewer lines than the last.
        rowsChanged = rowsChanged || textOf(values_[i]) != *lines[i];
        showText(values_[i], *lines[i]);
        const bool shown = i == 0 || i == 2 || !lines[i]->empty();
        if (isShown(values_[i]) != shown) {
            ShowWindow(values_[i], shown ? SW_SHOWNA : SW_HIDE);
            rowsChanged = true;
        }
    }
    for (const ServiceRow& row : serviceTable()) {
        const int r = int(indexOf(row.id));
        const ServiceStatus service = status_.service(row.id);
        std::string sockets;
        for (const std::string& socket : service.sockets) {
            sockets += (sockets.empty() ? "" : ", ") + socket;
        }
        setCell(services_, r, 0, service.name);
        setCell(services_, r, 1, sockets.empty() ? "closed" : sockets);
        setCell(services_, r, 2, service.countsTcpRequests ? service.tcpRequests : "-");
        setCell(services_, r, 3, service.udpRequests);
    }
    if (rowsChanged) {
        layout(DpiScale(windowDpi(handle())));
    }
}

} // namespace cvl
