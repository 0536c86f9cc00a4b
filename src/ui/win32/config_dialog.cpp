#include "ui/win32/config_dialog.h"

#include "core/server_controller.h"
#include "platform/windows/wide_text.h"
#include "ui/win32/painted_images.h"
#include "ui/win32/qbk_buttons.h"

#include <commctrl.h>

namespace cvl {

const std::array<const char*, 7>& regionEntries() {
    // Kept exactly as operators know them, irregularities included.
    static constexpr std::array<const char*, 7> entries{
        "NA - North America [USA, Canada, Mexico]",
        "SA - South America [Chile , Brazil, Columbia]",
        "EU - Europe [UK, Spain, Italy, France]",
        "AF - Africa [Kenya, Egypt, South Africa]",
        "AW - West Asia [Afghanistan, Russia, Indonesia]",
        "AE - East Asia [Bangladesh, Thailand, India, China]",
        "AP - Asia Pacific [Australia, Japan, New Zealand]",
    };
    return entries;
}

namespace {

bool checked(HWND box) {
    return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

QbkButton* makePaintedButton(HWND parent, int id, const char* name, const char* caption) {
    QbkButton* button = QbkButton::create(parent, id, name, RECT{0, 0, 80, 24});
    if (button != nullptr) {
        button->setCaption(caption);
        // Framed at rest, so that they read as buttons before the pointer finds them.
        button->setButtonStyle(XpStyle);
    }
    return button;
}

} // namespace

CVL_ConfigSVR::CVL_ConfigSVR(ServerController& server, HWND mainWindow)
    : server_(server) {
    createWindow(L"CVL_ConfigSVR", WS_POPUP | WS_CAPTION | WS_SYSMENU,
                 WS_EX_DLGMODALFRAME | WS_EX_CONTROLPARENT, mainWindow, "");
    HWND w = handle();
    frame1_ = makeGroup(w, "Region");
    image_ = makeControl(w, L"STATIC", "", SS_ICON | SS_REALSIZECONTROL);
    SetWindowTextW(image_, L"Image1");
    regionLabel_ = makeLabel(w, "Select What Region this Server will Operate in");
    regions_ = makeControl(w, WC_COMBOBOXW, "", CBS_DROPDOWN | WS_VSCROLL | WS_TABSTOP, Regions);
    closeLabel_ = makeLabel(w, "Select the closest region to you.");
    frame2_ = makeGroup(w, "Options");
    runAtStart_ = makeCheckBox(w, "Run Chronvale Server when Windows Starts.", RunCVL);
    openMinimized_ = makeCheckBox(w, "Open Minimized?", OpenMin);
    logging_ = makeCheckBox(w, "Enable Extended WC3 Logging.", wc3Logs);
    selTimeZone_ = makePaintedButton(w, SelTimeZone, "SelTimeZone", "Time Zone");
    checkUpdate_ = makePaintedButton(w, CheckUpdate, "CheckUpdate", "Check for Software Updates");
    ok_ = makePaintedButton(w, cfgsvrOK, "cfgsvrOK", "OK");
    if (ok_ != nullptr) {
        ok_->setDefault(true);
    }
    server_.status().addObserver(*this);
    Form_Load(mainWindow);
    applyDpi(windowDpi(w));
}

CVL_ConfigSVR::~CVL_ConfigSVR() {
    server_.status().removeObserver(*this);
    if (handle() != nullptr) {
        SetWindowLongPtrW(handle(), GWLP_USERDATA, 0);
        DestroyWindow(handle());
    }
    DeleteObject(arial_);
    DeleteObject(font_);
    if (picture_ != nullptr) {
        DestroyIcon(picture_);
    }
}

void CVL_ConfigSVR::Form_Load(HWND mainWindow) {
    const auto icon = SendMessageW(mainWindow, WM_GETICON, ICON_SMALL, 0);
    SendMessageW(handle(), WM_SETICON, ICON_SMALL, icon);
    SendMessageW(handle(), WM_SETICON, ICON_BIG, SendMessageW(mainWindow, WM_GETICON, ICON_BIG, 0));
    setText(handle(), "CONFIG - " + server_.status().caption());
    for (const char* entry : regionEntries()) {
        SendMessageW(regions_, CB_ADDSTRING, 0,
                     reinterpret_cast<LPARAM>(wideFromUtf8(entry).c_str()));
    }
    // The list is chosen from, never typed in.
    COMBOBOXINFO parts{};
    parts.cbSize = sizeof parts;
    if (GetComboBoxInfo(regions_, &parts) && parts.hwndItem != nullptr) {
        SendMessageW(parts.hwndItem, EM_SETREADONLY, TRUE, 0);
    }
    // An unknown code leaves the list on its design text, which is none of the entries;
    // nothing is stored until a region is picked.
    const ServerSettings settings = server_.settings();
    constexpr std::array<const char*, 7> codes{"NA", "SA", "EU", "AF", "AW", "AE", "AP"};
    int shown = -1;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (settings.sync.region == codes[i]) {
            shown = int(i);
        }
    }
    if (shown >= 0) {
        SendMessageW(regions_, CB_SETCURSEL, WPARAM(shown), 0);
    } else {
        setText(regions_, "North America NA");
    }
    // Loading only ever ticks boxes, and ticking stores the same value again.
    if (server_.runAtStartup()) {
        SendMessageW(runAtStart_, BM_SETCHECK, BST_CHECKED, 0);
    }
    if (settings.openMinimized) {
        SendMessageW(openMinimized_, BM_SETCHECK, BST_CHECKED, 0);
    }
    if (settings.enableLogging) {
        SendMessageW(logging_, BM_SETCHECK, BST_CHECKED, 0);
    }
    if (checkUpdate_ != nullptr) {
        EnableWindow(checkUpdate_->handle(), server_.status().checkUpdateEnabled());
    }
}

void CVL_ConfigSVR::applyDpi(UINT dpi) {
    const DpiScale s(dpi);
    DeleteObject(arial_);
    DeleteObject(font_);
    // The dialog's own face: Arial for its words, whatever the desktop uses.
    arial_ = createUiFont(dpi, L"Arial");
    font_ = createUiFont(dpi);
    setFontOfChildren(handle(), arial_);
    for (HWND control : {frame1_, frame2_, regions_}) {
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);
    }
    if (picture_ != nullptr) {
        DestroyIcon(picture_);
    }
    picture_ = applicationIcon(s(48));
    SendMessageW(image_, STM_SETICON, reinterpret_cast<WPARAM>(picture_), 0);
    layout();
}

void CVL_ConfigSVR::layout() {
    const DpiScale s(windowDpi(handle()));
    const int m = s(10);
    const int width = s(430);
    int y = m;
    place(frame1_, m, y, width, s(100));
    place(image_, m + s(12), y + s(24), s(48), s(48));
    const int x = m + s(72);
    const int fieldWidth = width - s(84);
    place(regionLabel_, x, y + s(22), fieldWidth, s(18));
    place(regions_, x, y + s(42), fieldWidth, s(200));
    place(closeLabel_, x, y + s(72), fieldWidth, s(18));
    y += s(110);
    place(frame2_, m, y, width, s(100));
    place(runAtStart_, m + s(14), y + s(22), width - s(28), s(22));
    place(openMinimized_, m + s(14), y + s(46), width - s(28), s(22));
    place(logging_, m + s(14), y + s(70), width - s(28), s(22));
    y += s(112);
    const int buttonHeight = s(28);
    if (selTimeZone_ != nullptr && checkUpdate_ != nullptr && ok_ != nullptr) {
        place(selTimeZone_->handle(), m, y, s(96), buttonHeight);
        place(checkUpdate_->handle(), m + s(104), y, s(200), buttonHeight);
        place(ok_->handle(), m + width - s(90), y, s(90), buttonHeight);
    }
    y += buttonHeight + m;
    RECT frame{0, 0, width + 2 * m, y};
    AdjustWindowRectExForDpi(&frame, DWORD(GetWindowLongW(handle(), GWL_STYLE)), FALSE,
                             DWORD(GetWindowLongW(handle(), GWL_EXSTYLE)), s.dpi());
    SetWindowPos(handle(), nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CVL_ConfigSVR::show() {
    if (!IsWindowVisible(handle())) {
        // Centred over the main window, or the screen while that is hidden.
        HWND owner = GetWindow(handle(), GW_OWNER);
        RECT over{};
        if (owner != nullptr && IsWindowVisible(owner)) {
            GetWindowRect(owner, &over);
        } else {
            SystemParametersInfoW(SPI_GETWORKAREA, 0, &over, 0);
        }
        RECT mine;
        GetWindowRect(handle(), &mine);
        const int w = mine.right - mine.left;
        const int h = mine.bottom - mine.top;
        SetWindowPos(handle(), nullptr, over.left + (over.right - over.left - w) / 2,
                     over.top + (over.bottom - over.top - h) / 2, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    }
    ShowWindow(handle(), SW_SHOW);
    SetForegroundWindow(handle());
}

void CVL_ConfigSVR::pickRegion() {
    const auto index = SendMessageW(regions_, CB_GETCURSEL, 0, 0);
    if (index >= 0 && index < LRESULT(regionEntries().size())) {
        server_.setRegionCode(std::string_view(regionEntries()[std::size_t(index)], 2));
    }
}

void CVL_ConfigSVR::statusChanged(StatusChange change) {
    if (change == StatusChange::UpdateButton && checkUpdate_ != nullptr && isOpen()) {
        EnableWindow(checkUpdate_->handle(), server_.status().checkUpdateEnabled());
    }
}

LRESULT CVL_ConfigSVR::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND: {
        const int id = LOWORD(wParam);
        const int code = HIWORD(wParam);
        switch (id) {
        case Regions:
            // A pick from the open list, even of the region already shown, recomputes the
            // server choice; arrows on the closed list pick as well.
            if (code == CBN_SELENDOK ||
                (code == CBN_SELCHANGE && !SendMessageW(regions_, CB_GETDROPPEDSTATE, 0, 0))) {
                pickRegion();
            }
            break;
        case RunCVL:
            server_.setRunAtStartup(checked(runAtStart_));
            break;
        case OpenMin:
            server_.setOpenMinimized(checked(openMinimized_));
            break;
        case wc3Logs:
            server_.setEnableLogging(checked(logging_));
            break;
        case SelTimeZone:
            server_.openDateTimeSettings();
            break;
        case CheckUpdate:
            if (checkUpdate_ != nullptr) {
                EnableWindow(checkUpdate_->handle(), FALSE);
            }
            server_.checkForUpdates();
            break;
        case cfgsvrOK:
        case IDCANCEL: // Escape closes it like the OK button; nothing is undone
            PostMessageW(handle(), WM_CLOSE, 0, 0);
            break;
        default:
            break;
        }
        return 0;
    }
    case WM_DPICHANGED:
        applyDpi(HIWORD(wParam));
        return 0;
    case WM_CLOSE:
        DestroyWindow(handle());
        return 0;
    default:
        return NativeWindow::onMessage(message, wParam, lParam);
    }
}

} // namespace cvl
