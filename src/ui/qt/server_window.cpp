#include "ui/qt/server_window.h"
#include "ui/qt/qt_text.h"

#include "core/server_controller.h"
#include "core/service_table.h"
#include "sync/synchroniser.h"
#include "ui/qt/overview_page.h"
#include "ui/qt/painted_images.h"
#include "ui/qt/service_page.h"
#include "ui/qt/traffic_lamps.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace cvl {

namespace {

// The tree's nodes in their order, with the display number each stands for.
struct Node {
    const char* title;
    int displayNumber;
};
constexpr std::array<Node, 8> kNodes{{{"CVL Servers", 1},
                                      {"Time Service Server", 2},
                                      {"Daytime Service Server", 3},
                                      {"SNTP v4 Service Server", 4},
                                      {"UnixTime Service Server", 5},
                                      {"CVL Server Client Server", 6},
                                      {"CVL About/Help", 7},
                                      {"CVL Advanced Config", 8}}};

const QStringList kUnits{QStringLiteral("Second/s"), QStringLiteral("Minute/s"),
                         QStringLiteral("Hour/s"), QStringLiteral("Day/s")};

// Which service each display number 2..6 shows.
ServiceId serviceForDisplay(int displayNumber) {
    for (const ServiceRow& row : serviceTable()) {
        if (row.displayNumber == displayNumber) {
            return row.id;
        }
    }
    return ServiceId::Time;
}

// The status line: always two lines high, so that the two-line port-conflict message neither
// pushes the window's content up when it comes nor lets it fall back when it goes. Lines too
// long for the room are elided; the tool tip holds the whole text.
class StatusLine final : public QLabel {
public:
    explicit StatusLine(QWidget* parent)
        : QLabel(parent) {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        fitHeight();
    }

    void showStatus(const QString& text) {
        QString lines = text;
        lines.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QChar(13), QChar(10));
        setText(lines);
        setToolTip(lines);
    }

protected:
    void changeEvent(QEvent* event) override {
        QLabel::changeEvent(event);
        if (event->type() == QEvent::FontChange) {
            fitHeight();
        }
    }

    void paintEvent(QPaintEvent*) override {
        QStringList lines = text().split(QChar(10));
        if (lines.size() > 2) {
            lines[1] = lines.mid(1).join(QLatin1Char(' '));
            lines.resize(2);
        }
        const QRect area = contentsRect();
        const QFontMetrics metrics = fontMetrics();
        const int height = static_cast<int>(lines.size()) * metrics.lineSpacing();
        int y = area.top() + (area.height() - height) / 2;
        QPainter painter(this);
        painter.setPen(palette().color(foregroundRole()));
        for (const QString& line : lines) {
            painter.drawText(QRect(area.left(), y, area.width(), metrics.lineSpacing()),
                             Qt::AlignLeft | Qt::AlignVCenter,
                             metrics.elidedText(line, Qt::ElideRight, area.width()));
            y += metrics.lineSpacing();
        }
    }

private:
    void fitHeight() {
        const QMargins m = contentsMargins();
        setFixedHeight(2 * fontMetrics().lineSpacing() + m.top() + m.bottom() + 2);
    }
};

} // namespace

ServerWindow::ServerWindow(ServerController& server, QWidget* parent)
    : QMainWindow(parent)
    , server_(server)
    , tree_(new QTreeWidget(this))
    , pages_(new QStackedWidget(this))
    , overview_(new OverviewPage(server, this))
    , displayTimer_(new QTimer(this))
    , refreshTimer_(new QTimer(this)) {
    setObjectName(QStringLiteral("CVL_Server"));
    setWindowTitle(toQString(server_.status().caption()));
    setWindowIcon(applicationIcon());

    // The service tree and its pages.
    tree_->setObjectName(QStringLiteral("CVL_TV"));
    tree_->setHeaderHidden(true);
    tree_->setRootIsDecorated(true);
    auto* root = new QTreeWidgetItem(tree_, {QLatin1String(kNodes[0].title)});
    root->setData(0, Qt::UserRole, kNodes[0].displayNumber);
    for (std::size_t i = 1; i < kNodes.size(); ++i) {
        auto* item = new QTreeWidgetItem(root, {QLatin1String(kNodes[i].title)});
        item->setData(0, Qt::UserRole, kNodes[i].displayNumber);
    }
    root->setExpanded(true);
    // As wide as its longest node: the room is the pages'.
    tree_->setFixedWidth(
        tree_->fontMetrics().horizontalAdvance(QStringLiteral("CVL Server Client Server")) + 64);

    pages_->addWidget(overview_);
    for (int number = 2; number <= 6; ++number) {
        auto* page = new ServicePage(server_, serviceForDisplay(number), this);
        servicePages_[static_cast<std::size_t>(number - 2)] = page;
        pages_->addWidget(page);
    }
    pages_->addWidget(buildAboutPage());
    pages_->addWidget(buildAdvancedPage());

    auto* top = new QHBoxLayout;
    top->addWidget(tree_);
    top->addWidget(pages_, 1);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->addLayout(top, 1);
    layout->addWidget(buildSyncPanel());
    setCentralWidget(central);
    buildStatusBar();
    buildTray();

    connect(tree_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (item != nullptr) {
            pages_->setCurrentIndex(item->data(0, Qt::UserRole).toInt() - 1);
            refresh();
        }
    });

    // Traffic, counters and clients are read from the controller a few times a second, and
    // only while the window is shown: a busy server does no display work per request.
    refreshTimer_->setInterval(200);
    connect(refreshTimer_, &QTimer::timeout, this, &ServerWindow::poll);
    refreshTimer_->start();
    server_.status().addObserver(*this);

    displayTimer_->setInterval(1000);
    connect(displayTimer_, &QTimer::timeout, this, &ServerWindow::tick);
    displayTimer_->start();
    tick();
    refreshSyncControls();
    refresh();
    resize(sizeHint().expandedTo(QSize(860, 580)));
}

ServerWindow::~ServerWindow() {
    server_.status().removeObserver(*this);
    displayTimer_->stop();
    if (tray_ != nullptr) {
        tray_->hide();
    }
}

void ServerWindow::statusChanged(StatusChange change) {
    const StatusModel& status = server_.status();
    switch (change) {
    case StatusChange::Caption:
        setWindowTitle(toQString(status.caption()));
        return;
    case StatusChange::Tip:
        showTip();
        return;
    case StatusChange::StatusLine:
        static_cast<StatusLine*>(status_)->showStatus(toQString(status.statusLine()));
        return;
    case StatusChange::TimeZone:
        zone_->setText(toQString(status.timeZoneLabel()));
        return;
    case StatusChange::Servers:
        refreshServers();
        return;
    case StatusChange::SelectedServer:
        servers_->setCurrentIndex(status.sync().selectedServer);
        return;
    case StatusChange::Synchronised:
        servers_->setToolTip(toQString(status.serverToolTip()));
        refresh(); // the tray's icon with it, even while the window is hidden
        return;
    case StatusChange::Checking:
        // A hidden window shows no activity.
        activity_->setPixmap(activityIcon(status.checking() && isVisible()).pixmap(24, 24));
        refresh();
        return;
    case StatusChange::Services:
    case StatusChange::Unanswered: // who was asked, and whether the answer is overdue
        refresh();
        return;
    case StatusChange::UpdateButton:
        return;
    }
}

void ServerWindow::showTip() {
    refreshTrayIcon();
    if (tray_ != nullptr) {
        tray_->setToolTip(toQString(server_.status().tip()));
    }
}

QWidget* ServerWindow::buildSyncPanel() {
    auto* panel = new QGroupBox(tr("Synchronisation"), this);
    syncN_ = new QLineEdit(panel);
    syncN_->setObjectName(QStringLiteral("SyncN"));
    syncN_->setMaximumWidth(syncN_->fontMetrics().horizontalAdvance(QStringLiteral("00000000")));
    syncUnit_ = new QComboBox(panel);
    syncUnit_->setObjectName(QStringLiteral("SyncIntC"));
    syncUnit_->addItems(kUnits);
    randomCheck_ = new QCheckBox(QStringLiteral("Randomize Atomic Time Servers"), panel);
    randomCheck_->setObjectName(QStringLiteral("RandomCheck"));
    servers_ = new QComboBox(panel);
    servers_->setObjectName(QStringLiteral("Servers"));
    servers_->addItem(QStringLiteral("NA"));
    servers_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    servers_->setMinimumContentsLength(28);
    activity_ = new QLabel(panel);
    activity_->setObjectName(QStringLiteral("Activity"));
    activity_->setPixmap(activityIcon(false).pixmap(24, 24));
    auto* syncNow = new QPushButton(tr("Synchronize Now"), panel);
    syncNow->setObjectName(QStringLiteral("SyncNowButton"));

    auto* grid = new QGridLayout(panel);
    grid->addWidget(new QLabel(QStringLiteral("Synchronize Server Every :"), panel), 0, 0);
    auto* every = new QHBoxLayout;
    every->addWidget(syncN_);
    every->addWidget(syncUnit_);
    every->addSpacing(12);
    every->addWidget(randomCheck_);
    every->addStretch();
    grid->addLayout(every, 0, 1);
    grid->addWidget(new QLabel(tr("Reference server:"), panel), 1, 0);
    auto* reference = new QHBoxLayout;
    reference->addWidget(servers_, 1);
    reference->addWidget(activity_);
    reference->addWidget(syncNow);
    grid->addLayout(reference, 1, 1);

    grid->addWidget(new QLabel(tr("Last clients:"), panel), 2, 0);
    auto* clients = new QHBoxLayout;
    const std::array<QString, 3> placeholders{tr("Time / Unix time"), tr("Daytime"), tr("NTP")};
    for (std::size_t box = 0; box < remoteHosts_.size(); ++box) {
        auto* edit = new QLineEdit(panel);
        edit->setObjectName(QStringLiteral("CVLRemHost_%1").arg(box));
        edit->setReadOnly(true);
        edit->setPlaceholderText(placeholders[box]);
        remoteHosts_[box] = edit;
        clients->addWidget(edit);
    }
    grid->addLayout(clients, 2, 1);
    grid->setColumnStretch(1, 1);

    // The typing rule keeps the box numeric: each change drops one trailing non-digit, and
    // that drop is itself a change, so pasted letters go one after another.
    connect(syncN_, &QLineEdit::textChanged, this, [this](const QString& text) {
        const QString kept = toQString(server_.synchroniser().typeInterval(text.toStdString()));
        if (kept != text) {
            syncN_->setText(kept);
        }
    });
    connect(syncN_, &QLineEdit::returnPressed, this,
            [this] { server_.synchroniser().enterInterval(); });
    connect(syncUnit_, &QComboBox::textActivated, this,
            [this](const QString& unit) { server_.synchroniser().chooseUnit(unit.toStdString()); });
    connect(randomCheck_, &QCheckBox::clicked, this,
            [this](bool on) { server_.synchroniser().setRandomChoice(on); });
    connect(servers_, &QComboBox::activated, this,
            [this](int index) { server_.synchroniser().selectServer(index); });
    connect(syncNow, &QPushButton::clicked, this, [this] { server_.synchroniser().syncNow(); });
    return panel;
}

QWidget* ServerWindow::buildAboutPage() {
    auto* page = new QWidget(this);
    page->setObjectName(QStringLiteral("page_about"));
    auto* text = new QLabel(page);
    text->setWordWrap(true);
    text->setTextFormat(Qt::RichText);
    text->setText(
        tr("<p><b>%1</b></p>"
           "<p>A network time server for this machine. It answers Daytime (RFC 867), Time "
           "(RFC 868), NTP/SNTP, Unix time and its own client protocol, over TCP and UDP, on the "
           "ports set on each service's page.</p>"
           "<p>It answers nobody until it has set this machine's clock once from a reference "
           "server, and it synchronises again at the interval below, from a server of your region "
           "when random choice is on.</p>"
           "<p>Requests are logged day by day in <tt>Logs/</tt> of the program folder. A port "
           "change counts once Enter is pressed in the port box.</p>")
            .arg(toQString(fixedTitle())));
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(text);
    layout->addStretch();
    return page;
}

QWidget* ServerWindow::buildAdvancedPage() {
    auto* page = new QWidget(this);
    page->setObjectName(QStringLiteral("page_advanced"));
    auto* text = new QLabel(tr("Region, start with the system, open minimised, request logging, "
                               "the system's date and time settings, and software updates."),
                            page);
    text->setWordWrap(true);
    auto* open = new QPushButton(tr("Open Advanced Configuration..."), page);
    open->setObjectName(QStringLiteral("OpenConfig"));
    connect(open, &QPushButton::clicked, this, &ServerWindow::configurationRequested);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(new QLabel(QStringLiteral("<b>%1</b>").arg(tr("CVL Advanced Config")), page));
    layout->addWidget(text);
    layout->addWidget(open, 0, Qt::AlignLeft);
    layout->addStretch();
    return page;
}

void ServerWindow::buildStatusBar() {
    auto* status = new StatusLine(statusBar());
    status->setObjectName(QStringLiteral("Status"));
    status->showStatus(toQString(server_.status().statusLine()));
    status_ = status;
    lamps_ = new TrafficLamps(statusBar());
    clock_ = new QLabel(statusBar());
    clock_->setObjectName(QStringLiteral("Clock"));
    zone_ = new QLabel(toQString(server_.status().timeZoneLabel()), statusBar());
    zone_->setObjectName(QStringLiteral("TimeZoneLabel"));
    statusBar()->addWidget(status_, 1);
    statusBar()->addPermanentWidget(lamps_);
    statusBar()->addPermanentWidget(clock_);
    statusBar()->addPermanentWidget(zone_);
}

void ServerWindow::buildTray() {
    trayIconSynced_ = server_.status().synchronised();
    trayIcon_ = trayIcon(trayIconSynced_);
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        return; // without a tray the window simply minimises
    }
    tray_ = new QSystemTrayIcon(trayIcon_, this);
    auto* menu = new QMenu(this);
    menu->addAction(tr("Show Chronvale Server"), this, [this] {
        showNormal();
        raise();
        activateWindow();
    });
    menu->addAction(tr("Synchronize Now"), this, [this] { server_.synchroniser().syncNow(); });
    menu->addSeparator();
    menu->addAction(tr("Exit"), qApp, &QCoreApplication::quit);
    tray_->setContextMenu(menu);
    tray_->setToolTip(toQString(server_.status().tip()));
    connect(tray_, &QSystemTrayIcon::activated, this, &ServerWindow::toggleFromTray);
    tray_->show();
}

void ServerWindow::refreshTrayIcon() {
    const bool synced = server_.status().synchronised();
    if (synced == trayIconSynced_) {
        return; // some trays flicker on every new icon
    }
    trayIconSynced_ = synced;
    trayIcon_ = trayIcon(synced);
    if (tray_ != nullptr) {
        tray_->setIcon(trayIcon_);
    }
}

void ServerWindow::toggleFromTray(QSystemTrayIcon::ActivationReason reason) {
    if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::DoubleClick) {
        return;
    }
    if (isVisible() && !isMinimized()) {
        hide();
    } else {
        showNormal();
        raise();
        activateWindow();
    }
}

void ServerWindow::startUp(bool hidden) {
    refreshSyncControls();
    if (hidden) {
        hide();
    } else if (server_.settings().openMinimized) {
        showMinimized();
    } else {
        show();
    }
    CVLSelected(1);
}

void ServerWindow::CVLSelected(int displayNumber) {
    QTreeWidgetItem* root = tree_->topLevelItem(0);
    QTreeWidgetItem* item = displayNumber <= 1 ? root : root->child(displayNumber - 2);
    if (item != nullptr) {
        tree_->setCurrentItem(item);
    }
}

int ServerWindow::selectedNode() const {
    return pages_->currentIndex() + 1;
}

void ServerWindow::poll() {
    if (!isVisible()) {
        return;
    }
    for (const Lamp lamp : lampChanges_.since(server_.status())) {
        lamps_->light(lamp);
    }
    refresh();
}

void ServerWindow::refresh() {
    refreshTrayIcon();
    if (pages_->currentWidget() == overview_) {
        overview_->refresh();
    }
    for (ServicePage* page : servicePages_) {
        if (pages_->currentWidget() == page) {
            page->refresh();
        }
    }
    for (std::size_t box = 0; box < remoteHosts_.size(); ++box) {
        showRemoteHost(static_cast<int>(box));
    }
}

void ServerWindow::showRemoteHost(int box) {
    const ClientBox client = server_.status().clientBox(box);
    QLineEdit* edit = remoteHosts_[static_cast<std::size_t>(box)];
    edit->setText(toQString(client.address));
    if (!client.toolTip.empty()) {
        edit->setToolTip(toQString(client.toolTip));
    }
}

void ServerWindow::refreshServers() {
    servers_->clear();
    const ServerList& list = server_.synchroniser().servers();
    if (list.entries.empty()) {
        servers_->addItem(QStringLiteral("NA"));
        return;
    }
    for (const ServerEntry& entry : list.entries) {
        servers_->addItem(flagIcon(entry.image), toQString(entry.text));
    }
    servers_->setCurrentIndex(server_.status().sync().selectedServer);
}

void ServerWindow::refreshSyncControls() {
    const SyncSettings& sync = server_.synchroniser().settings();
    syncN_->setText(toQString(sync.syncN));
    // A saved unit need not be one of the list's ("Minutes/s" is the usual one): it is shown
    // as it was saved.
    const int unit = static_cast<int>(kUnits.indexOf(toQString(sync.syncUnit)));
    syncUnit_->setPlaceholderText(toQString(sync.syncUnit));
    syncUnit_->setCurrentIndex(unit);
    randomCheck_->setChecked(sync.randomCheck);
    refreshServers();
}

void ServerWindow::tick() {
    clock_->setText(toQString(server_.status().clockText()));
}

void ServerWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && isMinimized() && tray_ != nullptr) {
        // Minimised means "to the tray" where there is one.
        QTimer::singleShot(0, this, &QWidget::hide);
    }
}

void ServerWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    QCoreApplication::quit();
}

} // namespace cvl
