// The main window: a view over the controller. The service tree CVL_TV selects what the right
// side shows; below are the synchronisation controls and the last clients; the status bar has
// the status line, the traffic lamps, the live clock and the time zone. It lives in the tray:
// minimising hides it there when the desktop has a tray.
#pragma once

#include "core/lamp_changes.h"
#include "core/status_model.h"

#include <QIcon>
#include <QMainWindow>
#include <QPointer>
#include <QSystemTrayIcon>
#include <array>

class QComboBox;
class QCheckBox;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QTimer;
class QTreeWidget;

namespace cvl {

class ServerController;
class OverviewPage;
class ServicePage;
class TrafficLamps;

class ServerWindow final : public QMainWindow, private StatusObserver {
    Q_OBJECT
public:
    explicit ServerWindow(ServerController& server, QWidget* parent = nullptr);
    ~ServerWindow() override;

    // The window's part of start-up, once the settings are read: the controls show them, the
    // window is shown (or stays hidden, with "-rs" or when it opens minimised) and the
    // overview is selected.
    void startUp(bool hidden);

    // Shows node `displayNumber` of the tree: 1 the overview, 2..6 the services, 7 about,
    // 8 the advanced configuration.
    void CVLSelected(int displayNumber);
    [[nodiscard]] int selectedNode() const;
    [[nodiscard]] bool hasTray() const { return tray_ != nullptr; }
    // The tray's icon as it stands (kept where the desktop has no tray as well).
    [[nodiscard]] QIcon trayIconShown() const { return trayIcon_; }

signals:
    // The advanced configuration dialog is wanted.
    void configurationRequested();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void statusChanged(StatusChange change) override;
    void showTip();

    QWidget* buildSyncPanel();
    QWidget* buildAboutPage();
    QWidget* buildAdvancedPage();
    void buildStatusBar();
    void buildTray();
    void poll();
    void refresh();
    void refreshServers();
    void refreshSyncControls();
    void refreshTrayIcon();
    void showRemoteHost(int box);
    void tick();
    void toggleFromTray(QSystemTrayIcon::ActivationReason reason);

    ServerController& server_;
    QTreeWidget* tree_;
    QStackedWidget* pages_;
    OverviewPage* overview_;
    std::array<ServicePage*, 5> servicePages_{};
    QLineEdit* syncN_;
    QComboBox* syncUnit_;
    QCheckBox* randomCheck_;
    QComboBox* servers_;
    QLabel* activity_;
    std::array<QLineEdit*, 3> remoteHosts_{};
    QLabel* status_;
    QLabel* clock_;
    QLabel* zone_;
    TrafficLamps* lamps_;
    QTimer* displayTimer_;
    QTimer* refreshTimer_;
    QSystemTrayIcon* tray_ = nullptr;
    QIcon trayIcon_;
    bool trayIconSynced_ = false;
    LampChanges lampChanges_;
};

} // namespace cvl
