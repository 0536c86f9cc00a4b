// The Windows desktop driven in-process with window messages, as a user's clicks arrive: the
// tree and controls start-up builds, clicks and keys reaching the controller, what the pages
// and the tray say before and after the first synchronisation, the tray's commands, the
// hidden start, a second start bringing the window forward, and the configuration dialog's
// rules. Needs a display (Xvfb under wine).
#include "core/service_listeners.h"
#include "loopback.h"
#include "platform/single_instance.h"
#include "platform/windows/wide_text.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "ui/win32/config_dialog.h"
#include "ui/win32/desktop_front_end.h"
#include "ui/win32/server_window.h"
#include "ui/win32/service_page.h"

#include <gtest/gtest.h>

#include <commctrl.h>

using namespace cvl;

namespace {

std::string windowText(HWND window) {
    wchar_t text[512] = L"";
    GetWindowTextW(window, text, 512);
    return utf8FromWide(text);
}

HWND child(HWND parent, const wchar_t* className, const char* text) {
    return FindWindowExW(parent, nullptr, className,
                         text != nullptr ? wideFromUtf8(text).c_str() : nullptr);
}

bool isChecked(HWND box) {
    return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void pressEnter(HWND edit) {
    SendMessageW(edit, WM_KEYDOWN, VK_RETURN, 0);
}

// As the program does before its first window.
const bool controlsReady = [] {
    INITCOMMONCONTROLSEX controls{sizeof controls,
                                  ICC_WIN95_CLASSES | ICC_USEREX_CLASSES | ICC_STANDARD_CLASSES};
    return InitCommonControlsEx(&controls) != FALSE;
}();

// The reference server on loopback holds its answers until a test releases them.
class Win32Desktop : public ::testing::Test {
protected:
    void startWith(const std::string& region, bool hidden = false) {
        reference = std::make_unique<test::ReferenceResponder>(*rig.loop);
        reference->holding = true;
        rig.options.referencePort = reference->port();
        rig.writeServerFile();
        timePort = test::freePort(*rig.loop);
        rig.store.putHome("NTP37", "YES:YES:YES:" + std::to_string(timePort));
        rig.store.putHome("SNTP123", "YES:NO:YES:" + std::to_string(test::freePort(*rig.loop)));
        rig.store.putHome("Settings", "NO:59:Minutes/s:" + region + ":36");
        rig.store.putHome("EnableLogging", "NO");
        front = std::make_unique<Win32FrontEnd>();
        front->build(rig.server());
        rig.server().start([&] { front->startUp(hidden); });
    }
    void TearDown() override {
        front.reset();
        reference.reset();
    }
    [[nodiscard]] HWND window() { return front->window().handle(); }
    [[nodiscard]] HWND page(const char* title) { return child(window(), L"CVL_Page", title); }
    // What a tree item says, by its place in the tree.
    std::vector<std::string> treeNodes() {
        HWND tree = GetDlgItem(window(), ServerWindow::Tree);
        std::vector<std::string> nodes;
        HTREEITEM root = TreeView_GetRoot(tree);
        for (HTREEITEM item = root; item != nullptr;
             item = item == root ? TreeView_GetChild(tree, root)
                                 : TreeView_GetNextSibling(tree, item)) {
            wchar_t text[128] = L"";
            TVITEMW data{};
            data.mask = TVIF_TEXT;
            data.hItem = item;
            data.pszText = text;
            data.cchTextMax = 128;
            SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&data));
            nodes.push_back(utf8FromWide(text));
        }
        return nodes;
    }

    test::ServerRig rig;
    std::unique_ptr<test::ReferenceResponder> reference;
    std::unique_ptr<Win32FrontEnd> front;
    std::uint16_t timePort = 0;
};

TEST_F(Win32Desktop, StartUpBuildsTheWindowWiredToTheController) {
    startWith("NA");
    EXPECT_TRUE(IsWindowVisible(window()));
    EXPECT_EQ(front->window().selectedNode(), 1);
    EXPECT_EQ(treeNodes(),
              (std::vector<std::string>{"CVL Servers", "Time Service Server",
                                        "Daytime Service Server", "SNTP v4 Service Server",
                                        "UnixTime Service Server", "CVL Server Client Server",
                                        "CVL About/Help", "CVL Advanced Config"}));
    HWND units = GetDlgItem(window(), ServerWindow::SyncIntC);
    EXPECT_EQ(SendMessageW(units, CB_GETCOUNT, 0, 0), 4);
    EXPECT_EQ(windowText(units), "Minutes/s") << "a saved unit outside the list, as saved";

    // Selecting a node shows its page and only that.
    front->window().CVLSelected(2);
    HWND timePage = page("Time Service Server");
    ASSERT_NE(timePage, nullptr);
    EXPECT_TRUE(IsWindowVisible(timePage));
    EXPECT_FALSE(IsWindowVisible(page("CVL Servers")));
    for (int node = 1; node <= 8; ++node) {
        front->window().CVLSelected(node);
        EXPECT_EQ(front->window().selectedNode(), node);
    }
    front->window().CVLSelected(2);

    // The master box closes the service and leaves its transport boxes unclickable.
    SendMessageW(GetDlgItem(timePage, ServicePage::Master), BM_CLICK, 0, 0);
    const ServiceListeners& listeners = rig.server().listeners();
    EXPECT_FALSE(listeners.controls(ServiceId::Time).master);
    EXPECT_FALSE(listeners.tcpListening(ServiceId::Time));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(timePage, ServicePage::Tcp)));
    SendMessageW(GetDlgItem(timePage, ServicePage::Master), BM_CLICK, 0, 0);
    EXPECT_TRUE(listeners.tcpListening(ServiceId::Time));

    // A typed port counts once Enter is pressed; the box's tip says so.
    HWND port = GetDlgItem(timePage, ServicePage::Port);
    SetWindowTextW(port, L"abc");
    pressEnter(port);
    EXPECT_EQ(listeners.controls(ServiceId::Time).portText, "abc");
    EXPECT_EQ(listeners.controls(ServiceId::Time).portToolTip, kPortRegisteredTip);

    // Letters in the interval box go, one change at a time, until a number is left.
    HWND every = GetDlgItem(window(), ServerWindow::SyncN);
    SetWindowTextW(every, L"15xy");
    EXPECT_EQ(windowText(every), "15");
    EXPECT_EQ(rig.server().synchroniser().settings().syncN, "15");
    SendMessageW(units, CB_SETCURSEL, 2, 0);
    SendMessageW(window(), WM_COMMAND, MAKEWPARAM(ServerWindow::SyncIntC, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(units));
    EXPECT_EQ(rig.server().synchroniser().settings().syncUnit, "Hour/s");
}

TEST_F(Win32Desktop, PagesAndTrayFollowTheFirstSynchronisation) {
    startWith("NA");
    ServerController& server = rig.server();
    ASSERT_TRUE(rig.runUntil([&] { return reference->requests == 1; }));
    const TrayIcon& tray = front->window().tray();
    EXPECT_TRUE(tray.shown());
    EXPECT_EQ(tray.tip(), server.status().tip());
    front->window().CVLSelected(2);
    HWND rows = page("Time Service Server");
    EXPECT_NE(child(rows, L"Static",
                    ("port " + std::to_string(timePort) + ": waiting for the first synchronisation")
                        .c_str()),
              nullptr);

    reference->release();
    ASSERT_TRUE(rig.runUntil([&] { return server.status().synchronised(); }));
    front->window().CVLSelected(2);
    EXPECT_NE(child(rows, L"Static", ("listening on port " + std::to_string(timePort)).c_str()),
              nullptr);
    EXPECT_EQ(tray.tip(), server.status().tip());
    // The status line shows what the model says, both lines of it.
    server.status().setStatusLine("That address is already in use.\rDAYTIME SERVICE");
    EXPECT_NE(child(window(), L"Static", "That address is already in use.\r\nDAYTIME SERVICE"),
              nullptr);
    front->window().CVLSelected(1);
    EXPECT_NE(child(page("CVL Servers"), L"Static", server.status().overview().clients.c_str()),
              nullptr);
}

TEST_F(Win32Desktop, TrayCommandsAndHiding) {
    startWith("NA", true);
    EXPECT_FALSE(IsWindowVisible(window())) << "-rs: the tray icon only";
    // A click on the icon arrives as the window's mouse-move message with the icon's id.
    SendMessageW(window(), WM_MOUSEMOVE, TrayIcon::kId, WM_LBUTTONUP);
    EXPECT_TRUE(IsWindowVisible(window()));
    SendMessageW(window(), WM_MOUSEMOVE, TrayIcon::kId, WM_LBUTTONUP);
    EXPECT_FALSE(IsWindowVisible(window()));
    SendMessageW(window(), WM_COMMAND, ServerWindow::ShowCommand, 0);
    EXPECT_TRUE(IsWindowVisible(window()));
    ShowWindow(window(), SW_MINIMIZE);
    EXPECT_FALSE(IsWindowVisible(window())) << "minimised to the tray";

    const int asked = reference->requests;
    SendMessageW(window(), WM_COMMAND, ServerWindow::SyncCommand, 0);
    EXPECT_TRUE(rig.runUntil([&] { return reference->requests > asked; }));

    // Exit ends the loop; the server stops in order after it.
    bool ended = false;
    rig.loop->post([&] {
        SendMessageW(window(), WM_COMMAND, ServerWindow::ExitCommand, 0);
        ended = true;
    });
    EXPECT_EQ(front->run(*rig.loop), 0);
    EXPECT_TRUE(ended);

    // Explorer restarted: the icon comes back.
    front->window().removeTrayIcon();
    SendMessageW(window(), RegisterWindowMessageA("TaskbarCreated"), 0, 0);
    EXPECT_TRUE(front->window().tray().shown());
}

TEST_F(Win32Desktop, ASecondStartBringsTheWindowForward) {
    startWith("NA", true);
    SingleInstance running(*rig.loop);
    ASSERT_TRUE(running.acquire());
    running.setShowHandler([this] { return front->showWindow(); });
    EXPECT_TRUE(SingleInstance::askRunningCopyToShow());
    EXPECT_TRUE(IsWindowVisible(window()));
}

TEST_F(Win32Desktop, ConfigDialogLoadsWithoutChangingAnything) {
    for (const auto& [region, shown] : std::vector<std::pair<std::string, std::string>>{
             {"AE", "AE - East Asia [Bangladesh, Thailand, India, China]"},
             {"AP", "AP - Asia Pacific [Australia, Japan, New Zealand]"},
             {"ZZ", "North America NA"},
             {"", "North America NA"}}) {
        TearDown();
        startWith(region);
        CVL_ConfigSVR& dialog = front->configDialog();
        EXPECT_EQ(windowText(dialog.handle()), "CONFIG - " + rig.server().status().caption());
        EXPECT_EQ(windowText(GetDlgItem(dialog.handle(), CVL_ConfigSVR::Regions)), shown);
        EXPECT_EQ(rig.server().settings().sync.region, region);
        EXPECT_FALSE(isChecked(GetDlgItem(dialog.handle(), CVL_ConfigSVR::wc3Logs))) << "saved NO";
        rig.server().shutdown();
    }
}

TEST_F(Win32Desktop, ConfigDialogClicks) {
    rig.autostart.present = true;
    startWith("NA");
    HWND dialog = front->configDialog().handle();
    EXPECT_TRUE(isChecked(GetDlgItem(dialog, CVL_ConfigSVR::RunCVL)));

    HWND regions = GetDlgItem(dialog, CVL_ConfigSVR::Regions);
    SendMessageW(regions, CB_SETCURSEL, 2, 0);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(CVL_ConfigSVR::Regions, CBN_SELENDOK),
                 reinterpret_cast<LPARAM>(regions));
    EXPECT_EQ(rig.server().settings().sync.region, "EU");

    SendMessageW(GetDlgItem(dialog, CVL_ConfigSVR::wc3Logs), BM_CLICK, 0, 0);
    EXPECT_TRUE(rig.server().settings().enableLogging);
    SendMessageW(GetDlgItem(dialog, CVL_ConfigSVR::RunCVL), BM_CLICK, 0, 0);
    EXPECT_FALSE(rig.server().runAtStartup());
    SendMessageW(GetDlgItem(dialog, CVL_ConfigSVR::OpenMin), BM_CLICK, 0, 0);
    EXPECT_TRUE(rig.server().settings().openMinimized);
    SendMessageW(GetDlgItem(dialog, CVL_ConfigSVR::SelTimeZone), BM_CLICK, 0, 0);
    EXPECT_EQ(rig.launcher.dateTimeSettingsOpened, 1);

    // The update button stays off until the check ends, even across a closed dialog.
    rig.server().status().setCheckUpdateEnabled(false);
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, CVL_ConfigSVR::CheckUpdate)));
    SendMessageW(GetDlgItem(dialog, CVL_ConfigSVR::cfgsvrOK), BM_CLICK, 0, 0);
    ASSERT_TRUE(rig.runUntil([&] { return !front->configDialogOpen(); }));
    dialog = front->configDialog().handle();
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, CVL_ConfigSVR::CheckUpdate)));
    rig.server().status().setCheckUpdateEnabled(true);
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, CVL_ConfigSVR::CheckUpdate)));
    EXPECT_TRUE(isChecked(GetDlgItem(dialog, CVL_ConfigSVR::wc3Logs))) << "a fresh dialog";
}

} // namespace
