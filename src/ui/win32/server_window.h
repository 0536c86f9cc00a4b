// The main window CVL_Server: a view over the server. The service tree CVL_TV selects the page
// on the right; below are the synchronisation controls and the last clients; the status strip
// has the status line, the traffic lamps, the clock and the time zone. It lives in the tray:
// minimising hides it there, the tray icon brings it back, closing it stops the server.
#pragma once

#include "core/lamp_changes.h"
#include "core/status_model.h"
#include "ui/win32/native_window.h"
#include "ui/win32/tray_icon.h"

#include <commctrl.h>

#include <array>
#include <functional>
#include <memory>

namespace cvl {

class ServerController;
class OverviewPage;
class ServicePage;
class TextPage;
class TrafficLamps;

class ServerWindow final : public NativeWindow, private StatusObserver {
public:
    explicit ServerWindow(ServerController& server);
    ~ServerWindow() override;

    // The window's part of start-up, once the settings are read: the controls show them, the
    // window is shown (or stays hidden, with "-rs" or when it opens minimised) and the
    // overview is selected.
    void startUp(bool hidden);
    // Brings the window back from the tray or from behind others.
    void showFromTray();
    // Shows node `displayNumber` of the tree: 1 the overview, 2..6 the services, 7 about,
    // 8 the advanced configuration.
    void CVLSelected(int displayNumber);
    [[nodiscard]] int selectedNode() const { return selected_; }
    [[nodiscard]] const TrayIcon& tray() const { return tray_; }
    // Takes the icon out of the tray, as the last step of shutdown but one.
    void removeTrayIcon() { tray_.remove(); }

    std::function<void()> onClose;     // closed, or Exit from the tray
    std::function<void()> onConfigure; // the advanced configuration is wanted

    // Menu and control ids, for the window's tests.
    enum Command {
        ShowCommand = 1,
        SyncCommand,
        ExitCommand,
        SyncNowButton = 200,
        SyncN,
        SyncIntC,
        RandomCheck,
        Servers,
        OpenConfig,
        Tree,
    };

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void statusChanged(StatusChange change) override;
    void build();
    void layout();
    void applyDpi(UINT dpi);
    void command(int id, int code);
    void trayMessage(UINT mouseMessage);
    void poll();
    void refresh();
    void refreshServers();
    void refreshSyncControls();
    void refreshTrayIcon();
    void refreshActivity();
    void tick();

    ServerController& server_;
    HWND tree_ = nullptr;
    std::unique_ptr<OverviewPage> overview_;
    std::array<std::unique_ptr<ServicePage>, 5> servicePages_;
    std::unique_ptr<TextPage> about_;
    std::unique_ptr<TextPage> advanced_;
    int selected_ = 1;
    HWND syncGroup_ = nullptr, everyLabel_ = nullptr, syncN_ = nullptr, syncUnit_ = nullptr;
    HWND randomCheck_ = nullptr, serverLabel_ = nullptr, servers_ = nullptr;
    HWND activity_ = nullptr, syncNow_ = nullptr, clientsLabel_ = nullptr;
    std::array<HWND, 3> remoteHosts_{};
    HWND status_ = nullptr, clock_ = nullptr, zone_ = nullptr;
    std::unique_ptr<TrafficLamps> lamps_;
    ToolTips tips_;
    TrayIcon tray_;
    HFONT font_ = nullptr;
    HFONT bold_ = nullptr;
    HIMAGELIST flags_ = nullptr;
    HICON windowIcon_ = nullptr, smallIcon_ = nullptr, trayIcon_ = nullptr, activityIcon_ = nullptr;
    bool trayIconSynced_ = false;
    bool refreshingSync_ = false;
    LampChanges lampChanges_;
};

} // namespace cvl
