#include "ui/win32/server_window.h"

#include "core/server_controller.h"
#include "core/service_table.h"
#include "platform/windows/wide_text.h"
#include "sync/synchroniser.h"
#include "ui/win32/overview_page.h"
#include "ui/win32/painted_images.h"
#include "ui/win32/service_page.h"
#include "ui/win32/text_page.h"
#include "ui/win32/traffic_lamps.h"

#include <commctrl.h>

namespace cvl {

namespace {

// The tree's nodes in their order; the display number of each is its place, from 1.
constexpr std::array<const char*, 8> kNodes{"CVL Servers",
                                            "Time Service Server",
                                            "Daytime Service Server",
                                            "SNTP v4 Service Server",
                                            "UnixTime Service Server",
                                            "CVL Server Client Server",
                                            "CVL About/Help",
                                            "CVL Advanced Config"};

constexpr std::array<const char*, 4> kUnits{"Second/s", "Minute/s", "Hour/s", "Day/s"};

constexpr UINT_PTR kRefreshTimer = 10; // counters, lamps and clients while shown
constexpr UINT_PTR kClockTimer = 11;
constexpr UINT kRefreshMs = 200;

constexpr char kAboutText[] =
    "A network time server for this machine. It answers Daytime (RFC 867), Time (RFC 868), "
    "NTP/SNTP, Unix time and its own client protocol, over TCP and UDP, on the ports set on "
    "each service's page.\r\n\r\n"
    "It answers nobody until it has set this machine's clock once from a reference server, "
    "and it synchronises again at the interval below, from a server of your region when "
    "random choice is on.\r\n\r\n"
    "Requests are logged day by day in Logs\\ of the program folder. A port change counts "
    "once Enter is pressed in the port box.";

constexpr char kAdvancedText[] =
    "Region, start with Windows, open minimised, request logging, the system's date and time "
    "settings, and software updates.";

ServiceId serviceForDisplay(int displayNumber) {
    for (const ServiceRow& row : serviceTable()) {
        if (row.displayNumber == displayNumber) {
            return row.id;
        }
    }
    return ServiceId::Time;
}

// A label breaks lines at CR LF only; the port conflict's second line follows a lone CR.
std::string asLines(const std::string& text) {
    std::string lines;
    for (std::size_t i = 0; i < text.size(); ++i) {
        lines += text[i];
        if (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n')) {
            lines += '\n';
        }
    }
    return lines;
}

void replaceIcon(HICON& slot, HICON icon) {
    if (slot != nullptr) {
        DestroyIcon(slot);
    }
    slot = icon;
}

} // namespace

ServerWindow::ServerWindow(ServerController& server)
    : server_(server) {
    const UINT dpi = GetDpiForSystem();
    windowIcon_ = applicationIcon(GetSystemMetricsForDpi(SM_CXICON, dpi));
    smallIcon_ = applicationIcon(GetSystemMetricsForDpi(SM_CXSMICON, dpi));
    // Not WS_CLIPCHILDREN: the group box is a sibling drawn under its controls, and the window
    // must paint the face beneath it.
    createWindow(L"CVL_Server", WS_OVERLAPPEDWINDOW, WS_EX_CONTROLPARENT, nullptr,
                 server_.status().caption(), windowIcon_);
    SendMessageW(handle(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(windowIcon_));
    SendMessageW(handle(), WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon_));
    tips_.attach(handle());
    tray_.attach(handle());
    build();
    applyDpi(windowDpi(handle()));
    const DpiScale s(windowDpi(handle()));
    SetWindowPos(handle(), nullptr, 0, 0, s(1000), s(680), SWP_NOMOVE | SWP_NOZORDER);

    trayIconSynced_ = server_.status().synchronised();
    trayIcon_ = trayIcon(trayIconSynced_, GetSystemMetrics(SM_CXSMICON));
    tray_.add(trayIcon_, server_.status().tipField());
    server_.status().addObserver(*this);
    SetTimer(handle(), kRefreshTimer, kRefreshMs, nullptr);
    SetTimer(handle(), kClockTimer, 1000, nullptr);
    tick();
    refreshSyncControls();
    refresh();
}

ServerWindow::~ServerWindow() {
    server_.status().removeObserver(*this);
    if (handle() != nullptr) {
        KillTimer(handle(), kRefreshTimer);
        KillTimer(handle(), kClockTimer);
    }
    tray_.remove();
    overview_.reset();
    for (auto& page : servicePages_) {
        page.reset();
    }
    about_.reset();
    advanced_.reset();
    lamps_.reset();
    if (handle() != nullptr) {
        SetWindowLongPtrW(handle(), GWLP_USERDATA, 0);
        DestroyWindow(handle());
    }
    for (HICON icon : {windowIcon_, smallIcon_, trayIcon_, activityIcon_}) {
        if (icon != nullptr) {
            DestroyIcon(icon);
        }
    }
    if (flags_ != nullptr) {
        ImageList_Destroy(flags_);
    }
    DeleteObject(font_);
    DeleteObject(bold_);
}

void ServerWindow::build() {
    HWND w = handle();
    tree_ = makeControl(w, WC_TREEVIEWW, "",
                        TVS_HASLINES | TVS_LINESATROOT | TVS_HASBUTTONS | TVS_SHOWSELALWAYS |
                            WS_TABSTOP,
                        Tree, WS_EX_CLIENTEDGE);
    SetWindowTextW(tree_, L"CVL_TV");
    HTREEITEM root = TVI_ROOT;
    for (std::size_t i = 0; i < kNodes.size(); ++i) {
        std::wstring text = wideFromUtf8(kNodes[i]);
        TVINSERTSTRUCTW insert{};
        insert.hParent = i == 0 ? TVI_ROOT : root;
        insert.hInsertAfter = TVI_LAST;
        insert.item.mask = TVIF_TEXT | TVIF_PARAM;
        insert.item.pszText = text.data();
        insert.item.lParam = LPARAM(i + 1);
        auto* item = reinterpret_cast<HTREEITEM>(
            SendMessageW(tree_, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert)));
        if (i == 0) {
            root = item;
        }
    }
    TreeView_Expand(tree_, root, TVE_EXPAND);

    overview_ = std::make_unique<OverviewPage>(w, server_.status());
    for (int number = 2; number <= 6; ++number) {
        servicePages_[std::size_t(number - 2)] = std::make_unique<ServicePage>(
            w, serviceForDisplay(number), server_.status(), server_.listeners(), tips_);
    }
    about_ = std::make_unique<TextPage>(w, fixedTitle(), kAboutText);
    advanced_ = std::make_unique<TextPage>(w, "CVL Advanced Config", kAdvancedText,
                                           "Open Advanced Configuration...", OpenConfig);

    syncGroup_ = makeGroup(w, "Synchronisation");
    everyLabel_ = makeLabel(w, "Synchronize Server Every :");
    syncN_ = makeEdit(w, SyncN);
    onEnterKey(syncN_, [this] { server_.synchroniser().enterInterval(); });
    syncUnit_ = makeControl(w, WC_COMBOBOXW, "", CBS_DROPDOWN | WS_TABSTOP | WS_VSCROLL, SyncIntC);
    for (const char* unit : kUnits) {
        SendMessageW(syncUnit_, CB_ADDSTRING, 0,
                     reinterpret_cast<LPARAM>(wideFromUtf8(unit).c_str()));
    }
    randomCheck_ = makeCheckBox(w, "Randomize Atomic Time Servers", RandomCheck);
    serverLabel_ = makeLabel(w, "Reference server:");
    servers_ =
        makeControl(w, WC_COMBOBOXEXW, "", CBS_DROPDOWNLIST | WS_TABSTOP | WS_VSCROLL, Servers);
    activity_ = makeControl(w, L"STATIC", "", SS_ICON | SS_CENTERIMAGE | SS_REALSIZECONTROL);
    syncNow_ = makeButton(w, "Synchronize Now", SyncNowButton);
    clientsLabel_ = makeLabel(w, "Last clients:");
    const std::array<const wchar_t*, 3> placeholders{L"Time / Unix time", L"Daytime", L"NTP"};
    for (std::size_t box = 0; box < remoteHosts_.size(); ++box) {
        remoteHosts_[box] = makeEdit(w, 0, ES_READONLY);
        SendMessageW(remoteHosts_[box], EM_SETCUEBANNER, TRUE,
                     reinterpret_cast<LPARAM>(placeholders[box]));
    }
    status_ = makeLabel(w, asLines(server_.status().statusLine()), 0, SS_EDITCONTROL | SS_SUNKEN);
    lamps_ = std::make_unique<TrafficLamps>(w);
    clock_ = makeLabel(w, "", 0, SS_CENTER | SS_SUNKEN | SS_CENTERIMAGE);
    zone_ =
        makeLabel(w, server_.status().timeZoneLabel(), 0, SS_CENTER | SS_SUNKEN | SS_CENTERIMAGE);
}

void ServerWindow::applyDpi(UINT dpi) {
    const DpiScale s(dpi);
    if (font_ != nullptr) {
        DeleteObject(font_);
        DeleteObject(bold_);
    }
    font_ = createUiFont(dpi);
    bold_ = createUiFont(dpi, nullptr, true);
    setFontOfChildren(handle(), font_);
    overview_->setFonts(font_, bold_);
    for (auto& page : servicePages_) {
        page->setFonts(font_, bold_);
    }
    about_->setFonts(font_, bold_);
    advanced_->setFonts(font_, bold_);
    SendMessageW(lamps_->handle(), WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);

    // The flags of the server list at this DPI's small-icon size.
    const int side = s(16);
    HIMAGELIST flags = ImageList_Create(side, side, ILC_COLOR32, 24, 0);
    for (int i = 0; i < 24; ++i) {
        HICON flag = flagIcon(i, side);
        ImageList_AddIcon(flags, flag);
        DestroyIcon(flag);
    }
    SendMessageW(servers_, CBEM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(flags));
    if (flags_ != nullptr) {
        ImageList_Destroy(flags_);
    }
    flags_ = flags;
    refreshActivity();
    layout();
}

void ServerWindow::layout() {
    RECT area;
    GetClientRect(handle(), &area);
    const DpiScale s(windowDpi(handle()));
    const int m = s(8);
    const int right = area.right - m;
    const int lineHeight = s(18);

    // Bottom up: the status strip, the synchronisation group, then tree and pages.
    const int stripHeight = 2 * lineHeight + s(6);
    const int stripTop = area.bottom - stripHeight - s(4);
    // The clock and the zone as wide as their words, the status line takes the rest.
    const int zoneWidth = textWidth(zone_, textOf(zone_)) + s(12);
    const int clockWidth = textWidth(clock_, "12/30/2004 12:00:00 AM") + s(12);
    const int lampsWidth = lamps_->width(s);
    place(zone_, right - zoneWidth, stripTop, zoneWidth, stripHeight);
    place(clock_, right - zoneWidth - s(4) - clockWidth, stripTop, clockWidth, stripHeight);
    place(lamps_->handle(), right - zoneWidth - clockWidth - s(8) - lampsWidth, stripTop,
          lampsWidth, stripHeight);
    place(status_, m, stripTop, right - zoneWidth - clockWidth - lampsWidth - s(12) - m,
          stripHeight);

    const int rowHeight = s(26);
    const int groupHeight = s(24) + 3 * rowHeight + s(8);
    const int groupTop = stripTop - s(6) - groupHeight;
    place(syncGroup_, m, groupTop, right - m, groupHeight);
    const int labelX = m + s(12);
    const int labelWidth = s(170);
    const int x = labelX + labelWidth;
    const int fieldRight = right - s(12);
    int y = groupTop + s(22);
    place(everyLabel_, labelX, y + s(3), labelWidth, lineHeight);
    place(syncN_, x, y, s(64), s(23));
    place(syncUnit_, x + s(70), y, s(110), s(200));
    place(randomCheck_, x + s(192), y + s(1), s(260), s(22));
    y += rowHeight;
    const int buttonWidth = s(130);
    const int iconSide = s(24);
    place(serverLabel_, labelX, y + s(3), labelWidth, lineHeight);
    place(servers_, x, y, fieldRight - x - buttonWidth - iconSide - s(12), s(300));
    place(activity_, fieldRight - buttonWidth - iconSide - s(6), y, iconSide, iconSide);
    place(syncNow_, fieldRight - buttonWidth, y - s(1), buttonWidth, s(26));
    y += rowHeight;
    place(clientsLabel_, labelX, y + s(3), labelWidth, lineHeight);
    const int boxWidth = (fieldRight - x - 2 * s(6)) / 3;
    for (std::size_t box = 0; box < remoteHosts_.size(); ++box) {
        place(remoteHosts_[box], x + int(box) * (boxWidth + s(6)), y, boxWidth, s(23));
    }

    const int top = m;
    const int pagesBottom = groupTop - s(6);
    const int treeWidth = s(210);
    place(tree_, m, top, treeWidth, pagesBottom - top);
    const int pageX = m + treeWidth + s(8);
    for (NativeWindow* page : std::initializer_list<NativeWindow*>{
             overview_.get(), servicePages_[0].get(), servicePages_[1].get(),
             servicePages_[2].get(), servicePages_[3].get(), servicePages_[4].get(), about_.get(),
             advanced_.get()}) {
        place(page->handle(), pageX, top, right - pageX, pagesBottom - top);
    }
}

LRESULT ServerWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (TrayIcon::isIconMessage(message, wParam, lParam)) {
        trayMessage(LOWORD(lParam));
        return 0;
    }
    if (TrayIcon::isTaskbarCreated(message)) {
        tray_.add(trayIcon_, server_.status().tipField());
        return 0;
    }
    switch (message) {
    case WM_SIZE:
        if (wParam == SIZE_MINIMIZED && tray_.shown()) {
            ShowWindow(handle(), SW_HIDE); // minimised means "to the tray"
        } else {
            layout();
        }
        return 0;
    case WM_GETMINMAXINFO: {
        const DpiScale s(windowDpi(handle()));
        auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
        limits->ptMinTrackSize = {s(860), s(600)};
        return 0;
    }
    case WM_DPICHANGED: {
        const auto* suggested = reinterpret_cast<const RECT*>(lParam);
        applyDpi(HIWORD(wParam));
        SetWindowPos(handle(), nullptr, suggested->left, suggested->top,
                     suggested->right - suggested->left, suggested->bottom - suggested->top,
                     SWP_NOZORDER | SWP_NOACTIVATE);
        return 0;
    }
    case WM_TIMER:
        if (wParam == kRefreshTimer) {
            poll();
        } else if (wParam == kClockTimer) {
            tick();
        }
        return 0;
    case WM_NOTIFY: {
        const auto* note = reinterpret_cast<const NMHDR*>(lParam);
        if (note->hwndFrom == tree_ && note->code == TVN_SELCHANGEDW) {
            const auto* change = reinterpret_cast<const NMTREEVIEWW*>(lParam);
            selected_ = int(change->itemNew.lParam);
            const std::array<NativeWindow*, 8> pages{overview_.get(),        servicePages_[0].get(),
                                                     servicePages_[1].get(), servicePages_[2].get(),
                                                     servicePages_[3].get(), servicePages_[4].get(),
                                                     about_.get(),           advanced_.get()};
            for (std::size_t i = 0; i < pages.size(); ++i) {
                ShowWindow(pages[i]->handle(), int(i) + 1 == selected_ ? SW_SHOW : SW_HIDE);
            }
            refresh();
        }
        return 0;
    }
    case WM_COMMAND:
        command(LOWORD(wParam), HIWORD(wParam));
        return 0;
    case WM_CTLCOLORSTATIC:
        // Read-only boxes look like the window, not like boxes waiting for input.
        return NativeWindow::onMessage(message, wParam, lParam);
    case WM_CLOSE:
        if (onClose) {
            onClose();
        }
        return 0;
    default:
        return NativeWindow::onMessage(message, wParam, lParam);
    }
}

void ServerWindow::command(int id, int code) {
    Synchroniser& sync = server_.synchroniser();
    switch (id) {
    case ShowCommand:
        showFromTray();
        break;
    case SyncCommand:
    case SyncNowButton:
        if (code == BN_CLICKED || id == SyncCommand) {
            sync.syncNow();
        }
        break;
    case ExitCommand:
        if (onClose) {
            onClose();
        }
        break;
    case SyncN:
        // The typing rule keeps the box numeric: each change drops one trailing non-digit,
        // and that drop is itself a change, so pasted letters go one after another.
        if (code == EN_CHANGE && !refreshingSync_) {
            const std::string typed = textOf(syncN_);
            const std::string kept = sync.typeInterval(typed);
            if (kept != typed) {
                setText(syncN_, kept);
            }
        }
        break;
    case SyncIntC:
        if (code == CBN_SELCHANGE) {
            const auto index = SendMessageW(syncUnit_, CB_GETCURSEL, 0, 0);
            if (index >= 0 && index < LRESULT(kUnits.size())) {
                sync.chooseUnit(kUnits[std::size_t(index)]);
            }
        }
        break;
    case RandomCheck:
        if (code == BN_CLICKED) {
            sync.setRandomChoice(SendMessageW(randomCheck_, BM_GETCHECK, 0, 0) == BST_CHECKED);
        }
        break;
    case Servers:
        if (code == CBN_SELCHANGE) {
            sync.selectServer(int(SendMessageW(servers_, CB_GETCURSEL, 0, 0)));
        }
        break;
    case OpenConfig:
        if (code == BN_CLICKED && onConfigure) {
            onConfigure();
        }
        break;
    default:
        break;
    }
}

void ServerWindow::trayMessage(UINT mouseMessage) {
    if (mouseMessage == WM_LBUTTONUP) {
        if (IsWindowVisible(handle()) && !IsIconic(handle())) {
            ShowWindow(handle(), SW_HIDE);
        } else {
            showFromTray();
        }
        return;
    }
    if (mouseMessage != WM_RBUTTONUP && mouseMessage != WM_CONTEXTMENU) {
        return;
    }
    HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, ShowCommand, L"Show Chronvale Server");
    AppendMenuW(menu, MF_STRING, SyncCommand, L"Synchronize Now");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, ExitCommand, L"Exit");
    SetMenuDefaultItem(menu, ShowCommand, FALSE);
    POINT at;
    GetCursorPos(&at);
    // The menu closes when the user clicks elsewhere only if its window is in front.
    SetForegroundWindow(handle());
    const UINT chosen = UINT(TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON | TPM_NONOTIFY,
                                            at.x, at.y, 0, handle(), nullptr));
    PostMessageW(handle(), WM_NULL, 0, 0);
    DestroyMenu(menu);
    if (chosen != 0) {
        command(int(chosen), 0);
    }
}

void ServerWindow::showFromTray() {
    ShowWindow(handle(), IsIconic(handle()) ? SW_RESTORE : SW_SHOW);
    SetForegroundWindow(handle());
    refreshActivity();
}

void ServerWindow::statusChanged(StatusChange change) {
    const StatusModel& status = server_.status();
    switch (change) {
    case StatusChange::Caption:
        setText(handle(), status.caption());
        return;
    case StatusChange::Tip:
        refreshTrayIcon();
        tray_.setTip(status.tipField());
        return;
    case StatusChange::StatusLine:
        showText(status_, asLines(status.statusLine()));
        tips_.setTip(status_, asLines(status.statusLine()));
        return;
    case StatusChange::TimeZone:
        showText(zone_, status.timeZoneLabel());
        layout();
        return;
    case StatusChange::Servers:
        refreshServers();
        return;
    case StatusChange::SelectedServer:
        SendMessageW(servers_, CB_SETCURSEL, WPARAM(status.sync().selectedServer), 0);
        return;
    case StatusChange::Synchronised:
        tips_.setTip(servers_, status.serverToolTip());
        refresh(); // the tray's icon with it, even while the window is hidden
        return;
    case StatusChange::Checking:
        refreshActivity();
        refresh();
        return;
    case StatusChange::Services:
    case StatusChange::Unanswered:
        refresh();
        return;
    case StatusChange::UpdateButton:
        return;
    }
}

void ServerWindow::refreshActivity() {
    // A hidden window shows no activity.
    const bool busy = server_.status().checking() && IsWindowVisible(handle());
    HICON icon = activityIcon(busy, DpiScale(windowDpi(handle()))(24));
    SendMessageW(activity_, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
    replaceIcon(activityIcon_, icon);
}

void ServerWindow::refreshTrayIcon() {
    const bool synced = server_.status().synchronised();
    if (synced == trayIconSynced_) {
        return; // the tray flickers on every new icon
    }
    trayIconSynced_ = synced;
    HICON icon = trayIcon(synced, GetSystemMetrics(SM_CXSMICON));
    tray_.setIcon(icon);
    replaceIcon(trayIcon_, icon);
}

void ServerWindow::poll() {
    if (!IsWindowVisible(handle())) {
        return;
    }
    for (const Lamp lamp : lampChanges_.since(server_.status())) {
        lamps_->light(lamp);
    }
    refresh();
}

void ServerWindow::refresh() {
    refreshTrayIcon();
    if (selected_ == 1) {
        overview_->refresh();
    } else if (selected_ >= 2 && selected_ <= 6) {
        servicePages_[std::size_t(selected_ - 2)]->refresh();
    }
    for (std::size_t box = 0; box < remoteHosts_.size(); ++box) {
        const ClientBox client = server_.status().clientBox(int(box));
        showText(remoteHosts_[box], client.address);
        if (!client.toolTip.empty()) {
            tips_.setTip(remoteHosts_[box], client.toolTip);
        }
    }
}

void ServerWindow::refreshServers() {
    SendMessageW(servers_, CB_RESETCONTENT, 0, 0);
    const ServerList& list = server_.synchroniser().servers();
    const auto add = [this](const std::string& text, int image) {
        std::wstring wide = wideFromUtf8(text);
        COMBOBOXEXITEMW item{};
        item.mask = CBEIF_TEXT | CBEIF_IMAGE | CBEIF_SELECTEDIMAGE;
        item.iItem = -1;
        item.pszText = wide.data();
        item.iImage = item.iSelectedImage = image >= 0 && image < 24 ? image : 2;
        SendMessageW(servers_, CBEM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    };
    if (list.entries.empty()) {
        add("NA", 2);
        SendMessageW(servers_, CB_SETCURSEL, 0, 0);
        return;
    }
    for (const ServerEntry& entry : list.entries) {
        add(entry.text, entry.image);
    }
    SendMessageW(servers_, CB_SETCURSEL, WPARAM(server_.status().sync().selectedServer), 0);
}

void ServerWindow::refreshSyncControls() {
    refreshingSync_ = true;
    const SyncSettings& sync = server_.synchroniser().settings();
    setText(syncN_, sync.syncN);
    // A saved unit need not be one of the list's ("Minutes/s" is the usual one): it is shown
    // as it was saved.
    const auto unit = SendMessageW(syncUnit_, CB_FINDSTRINGEXACT, WPARAM(-1),
                                   reinterpret_cast<LPARAM>(wideFromUtf8(sync.syncUnit).c_str()));
    SendMessageW(syncUnit_, CB_SETCURSEL, WPARAM(unit), 0);
    if (unit == CB_ERR) {
        setText(syncUnit_, sync.syncUnit);
    }
    SendMessageW(randomCheck_, BM_SETCHECK, sync.randomCheck ? BST_CHECKED : BST_UNCHECKED, 0);
    refreshingSync_ = false;
    refreshServers();
}

void ServerWindow::tick() {
    showText(clock_, server_.status().clockText());
}

void ServerWindow::startUp(bool hidden) {
    refreshSyncControls();
    CVLSelected(1);
    if (hidden) {
        return; // "-rs": the tray icon only
    }
    if (server_.settings().openMinimized) {
        ShowWindow(handle(), SW_SHOWMINNOACTIVE);
        if (tray_.shown()) {
            ShowWindow(handle(), SW_HIDE);
        }
        return;
    }
    ShowWindow(handle(), SW_SHOW);
    SetFocus(tree_); // the tree's selection shows, and the arrow keys walk the pages
    UpdateWindow(handle());
}

void ServerWindow::CVLSelected(int displayNumber) {
    HTREEITEM item = TreeView_GetRoot(tree_);
    if (displayNumber > 1) {
        item = TreeView_GetChild(tree_, item);
        for (int i = 2; i < displayNumber && item != nullptr; ++i) {
            item = TreeView_GetNextSibling(tree_, item);
        }
    }
    if (item != nullptr) {
        TreeView_SelectItem(tree_, item);
    }
}

} // namespace cvl
