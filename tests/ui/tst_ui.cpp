// The desktop views on the offscreen platform. The painted button: clicks and what is not a
// click, hovering, the link a click opens, saved properties, and the frames some looks must not
// draw. The windows: the tree and controls that start-up builds, clicks in the window reaching
// the controller, what the pages and the tray say before and after the first synchronisation,
// a status line that keeps its place, and the configuration dialog's rules.
#include "desktop_rig.h"
#include "log/request_log.h"
#include "loopback.h"
#include "memory_button_store.h"
#include "platform/linux/epoll_event_loop.h"
#include "reference_responder.h"
#include "server_rig.h"
#include "sync/time_query.h"
#include "ui/qt/config_dialog.h"
#include "ui/qt/desktop_front_end.h"
#include "ui/qt/qbk_buttons.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/server_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QStatusBar>
#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>
#include <map>

using namespace cvl;

namespace {

// Shown, with its signals and the links it opens written down; the pointer is wherever the
// test says.
struct ProbedButton : QBKButtons {
    ProbedButton() {
        setObjectName(QStringLiteral("okButton"));
        initProperties();
        resize(80, 30);
        connect(this, &QAbstractButton::clicked, [this] { log << "click"; });
        connect(this, &QBKButtons::MouseDown, [this] { log << "down"; });
        connect(this, &QBKButtons::MouseUp, [this] { log << "up"; });
        connect(this, &QBKButtons::MouseIn, [this] { log << "in"; });
        connect(this, &QBKButtons::MouseOut, [this] { log << "out"; });
        show();
    }
    // What happened since the last look.
    QStringList take() { return std::exchange(log, {}); }

    bool inside = true;
    QStringList log;
    [[nodiscard]] bool pointerInside() const override { return inside; }
    void openMail(const QString& url) override { log << "mail " + url; }
    void navigate(const QString& url) override { log << "navigate " + url; }
};

using MemoryStore = test::MemoryButtonStore;

QImage render(const QBKButtonLook& look) {
    QImage image(look.rect.size(), QImage::Format_ARGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    QBKButtons::paintLook(painter, look);
    return image;
}

QImage iconImage(const QIcon& icon) {
    return icon.pixmap(32, 32).toImage();
}

QPixmap filled(QColor color, QSize size = {8, 8}) {
    QPixmap pixmap(size);
    pixmap.fill(color);
    return pixmap;
}

} // namespace

class TestUi : public QObject {
    Q_OBJECT

    // The reference server on loopback holds its answers until a test releases them.
    std::unique_ptr<test::DesktopRig> rig;
    std::unique_ptr<test::ReferenceResponder> reference;
    std::unique_ptr<DesktopFrontEnd> front;

    void startWith(const QString& region, bool hidden = false, const QString& daytime = QString()) {
        rig = std::make_unique<test::DesktopRig>();
        reference = std::make_unique<test::ReferenceResponder>(*rig->loop);
        reference->holding = true;
        rig->options.referencePort = reference->port();
        rig->writeServerFile();
        rig->store.putHome("NTP37", "YES:YES:YES:" + std::to_string(test::freePort(*rig->loop)));
        rig->store.putHome("SNTP123", "YES:NO:YES:" + std::to_string(test::freePort(*rig->loop)));
        if (!daytime.isEmpty())
            rig->store.putHome("DTS13", daytime.toStdString());
        rig->store.putHome("Settings", "NO:59:Minutes/s:" + region.toStdString() + ":36");
        rig->store.putHome("EnableLogging", "NO");
        front = std::make_unique<DesktopFrontEnd>();
        front->build(rig->server());
        rig->server().start([&] { front->startUp(hidden); });
    }
    template <typename T> T* find(QWidget* parent, const char* name) {
        return parent->findChild<T*>(QLatin1String(name));
    }

private slots:
    void cleanup() {
        front.reset();
        reference.reset();
        rig.reset();
    }

    void startUpBuildsAWindowWiredToTheController() {
        startWith("NA");
        ServerWindow& window = front->window();
        QVERIFY(window.isVisible());
        QCOMPARE(window.selectedNode(), 1);
        QTreeWidgetItem* root = find<QTreeWidget>(&window, "CVL_TV")->topLevelItem(0);
        QStringList nodes{root->text(0)};
        for (int i = 0; i < root->childCount(); ++i)
            nodes << root->child(i)->text(0);
        QCOMPARE(nodes, QStringList({"CVL Servers", "Time Service Server", "Daytime Service Server",
                                     "SNTP v4 Service Server", "UnixTime Service Server",
                                     "CVL Server Client Server", "CVL About/Help",
                                     "CVL Advanced Config"}));
        auto* units = find<QComboBox>(&window, "SyncIntC");
        QCOMPARE(units->count(), 4);
        QCOMPARE(units->itemText(0) + units->itemText(3), QStringLiteral("Second/sDay/s"));
        QCOMPARE(units->placeholderText(), QStringLiteral("Minutes/s"));

        // Clicks in the window reach the controller.
        window.CVLSelected(2);
        auto* master = find<QCheckBox>(&window, "eNTP");
        QVERIFY(master->isVisible());
        QTest::mouseClick(master, Qt::LeftButton, {}, QPoint(4, master->height() / 2));
        QVERIFY(!rig->server().listeners().controls(ServiceId::Time).master);
        QVERIFY(!rig->server().listeners().tcpListening(ServiceId::Time));
        QVERIFY(!find<QCheckBox>(&window, "eTCP37")->isEnabled());

        auto* port = find<QLineEdit>(&window, "NTP_Ptxt");
        port->clear();
        QTest::keyClicks(port, "abc");
        QTest::keyClick(port, Qt::Key_Return);
        QCOMPARE(rig->server().listeners().controls(ServiceId::Time).portText, std::string("abc"));
        QCOMPARE(port->toolTip(), toQString(kPortRegisteredTip));

        // Letters in the interval box go, one change at a time, until a number is left.
        auto* every = find<QLineEdit>(&window, "SyncN");
        every->setText(QStringLiteral("15xy"));
        QCOMPARE(every->text(), QStringLiteral("15"));
        QCOMPARE(rig->server().synchroniser().settings().syncN, std::string("15"));

        cleanup();
        startWith("NA", true);
        QVERIFY(!front->window().isVisible());
    }

    void pagesAndTrayFollowTheFirstSynchronisation() {
        startWith("NA");
        ServerController& server = rig->server();
        ServerWindow& window = front->window();
        auto* overview = find<QWidget>(&window, "page_overview");
        auto* state = find<QLabel>(overview, "SyncState");
        auto* summary = find<QTableWidget>(overview, "ServiceSummary");
        const int timeRow = static_cast<int>(indexOf(ServiceId::Time));
        const quint16 timePort =
            server.listeners().tcpArray(ServiceId::Time).listener().serverPort();
        QTRY_COMPARE(reference->requests, 1);
        QVERIFY(!server.status().synchronised());

        QCOMPARE(state->text(),
                 QStringLiteral("Not synchronised: clients are refused until the first answer"));
        QTRY_VERIFY(find<QLabel>(overview, "AskedServer")->text().startsWith("127.0.0.1, at "));
        QVERIFY(
            find<QLabel>(overview, "NextTry")->text().contains(QRegularExpression("^in \\d+ s$")));
        QVERIFY(!find<QLabel>(overview, "SyncResult")->isVisibleTo(overview));
        QCOMPARE(summary->item(timeRow, 1)->text(),
                 QString("TCP %1: waiting for the first synchronisation\nUDP %1").arg(timePort));
        window.CVLSelected(2);
        auto* timeState = find<QLabel>(find<QWidget>(&window, "page_NTP37"), "TcpState");
        QCOMPARE(timeState->text(),
                 QString("port %1: waiting for the first synchronisation").arg(timePort));
        const QImage waitingIcon = iconImage(window.trayIconShown());

        reference->release();
        QTRY_VERIFY(server.status().synchronised());
        QCOMPARE(timeState->text(), QString("listening on port %1").arg(timePort));
        QVERIFY(iconImage(window.trayIconShown()) != waitingIcon);
        QCOMPARE(iconImage(window.trayIconShown()), iconImage(window.windowIcon()));

        window.CVLSelected(1);
        const TimeQuery& query = server.synchroniser().query();
        QVERIFY(state->text().startsWith("Synchronised"));
        QVERIFY(find<QLabel>(overview, "SyncResult")
                    ->text()
                    .contains(QRegularExpression(
                        "^" + QRegularExpression::escape(toQString(query.syncMessage())) +
                        " \\([+-]?\\d+\\.\\d ms\\)$")));
        QCOMPARE(find<QLabel>(overview, "Reference")->text(),
                 toQString("127.0.0.1 (" + query.referenceAddressText() + "), at " +
                           generalDateText(query.lastSyncTime())));
        QVERIFY(!find<QLabel>(overview, "AskedServer")->isVisibleTo(overview));
        QCOMPARE(summary->item(timeRow, 1)->text(), QString("TCP %1, UDP %1").arg(timePort));

        // The NTP page shows the last reply's milliseconds as its timer refreshes it.
        window.CVLSelected(4);
        server.serving().noteNtpMilliseconds(437);
        QTRY_COMPARE(find<QLabel>(find<QWidget>(&window, "page_SNTP123"), "NTPms")->text(),
                     QStringLiteral("NTPms 437"));
    }

    void statusLineKeepsItsPlace() {
        // Daytime's TCP port is taken: the two-line conflict text comes, and goes once Enter
        // opens the service after the port is free again.
        EpollEventLoop blockerLoop;
        auto blocker = std::make_unique<StreamListener>(blockerLoop);
        const quint16 port = test::freePort(blockerLoop);
        QVERIFY(blocker->listen(port).open);
        startWith("NA", false, QString("YES:YES:NO:%1").arg(port));
        ServerWindow& window = front->window();
        auto* status = find<QLabel>(&window, "Status");
        QTRY_VERIFY(status->text().contains('\n'));
        QCOMPARE(status->toolTip(), status->text());
        QTest::qWait(50); // the layouts settle on posted events
        const int height = status->height();
        const QRect content = window.centralWidget()->geometry();

        blocker.reset();
        rig->server().listeners().portKeyPressed(ServiceId::Daytime, 13);
        QCOMPARE(status->text(), QString());
        QCOMPARE(status->toolTip(), QString());
        QTest::qWait(50); // the layouts settle on posted events
        QCOMPARE(status->height(), height);
        QCOMPARE(window.centralWidget()->geometry(), content);
        QVERIFY(height >= 2 * status->fontMetrics().lineSpacing());
    }

    void configDialogLoadsWithoutChangingAnything_data() {
        QTest::addColumn<QString>("region");
        QTest::addColumn<int>("index");
        QTest::newRow("AE") << "AE" << 5;
        QTest::newRow("AP") << "AP" << 6;
        QTest::newRow("unknown") << "ZZ" << -1;
        QTest::newRow("empty") << "" << -1;
    }
    void configDialogLoadsWithoutChangingAnything() {
        QFETCH(QString, region);
        startWith(region);
        CVL_ConfigSVR& dialog = front->configDialog();
        QCOMPARE(dialog.windowTitle(), "CONFIG - " + toQString(rig->server().status().caption()));
        auto* regions = find<QComboBox>(&dialog, "Regions");
        QTEST(regions->currentIndex(), "index");
        QCOMPARE(regions->placeholderText(), QStringLiteral("North America NA"));
        QCOMPARE(regions->itemText(1),
                 QStringLiteral("SA - South America [Chile , Brazil, Columbia]"));
        QCOMPARE(toQString(rig->server().settings().sync.region), region);
        QVERIFY(!find<QCheckBox>(&dialog, "wc3Logs")->isChecked()); // saved "NO"
    }

    void configDialogClicks() {
        startWith("NA");
        rig->autostart.present = true;
        CVL_ConfigSVR* dialog = &front->configDialog();
        auto* regions = find<QComboBox>(dialog, "Regions");
        regions->setCurrentIndex(2);
        emit regions->textActivated(regions->currentText());
        QCOMPARE(rig->server().settings().sync.region, std::string("EU"));

        find<QCheckBox>(dialog, "wc3Logs")->click();
        QVERIFY(rig->server().settings().enableLogging);
        find<QCheckBox>(dialog, "OpenMin")->click();
        QVERIFY(rig->server().settings().openMinimized);

        // The update button stays off until the check ends, even across a closed dialog.
        auto* check = find<QAbstractButton>(dialog, "CheckUpdate");
        rig->server().status().setCheckUpdateEnabled(false);
        QVERIFY(!check->isEnabled());
        find<QAbstractButton>(dialog, "cfgsvrOK")->click();
        QTRY_VERIFY(!front->configDialogOpen());
        dialog = &front->configDialog();
        QVERIFY(!find<QAbstractButton>(dialog, "CheckUpdate")->isEnabled());
        rig->server().status().setCheckUpdateEnabled(true);
        QVERIFY(find<QAbstractButton>(dialog, "CheckUpdate")->isEnabled());
    }

    void clicks() {
        ProbedButton b;
        b.setUrl(QStringLiteral("http://example.org"));
        QTest::mousePress(&b, Qt::LeftButton, {}, {10, 12});
        QVERIFY(b.isPressed());
        QTest::mouseRelease(&b, Qt::LeftButton, {}, {10, 12});
        QCOMPARE(b.take(), (QStringList{"down", "click", "navigate http://example.org", "up"}));

        QTest::mousePress(&b, Qt::RightButton, {}, {10, 12});
        QVERIFY(!b.isPressed());
        QTest::mouseRelease(&b, Qt::RightButton, {}, {10, 12});
        QTest::mousePress(&b, Qt::LeftButton, {}, {10, 12});
        QTest::mouseRelease(&b, Qt::LeftButton, {}, {80, 12}); // just past the right edge
        QCOMPARE(b.take(), (QStringList{"down", "up", "down", "up"}));

        b.setUrl({});
        for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_X})
            QTest::keyClick(&b, key);
        QCOMPARE(b.take(), (QStringList{"click", "click"})); // once each, no link

        for (const char* url : {"mailto:a@b.org", "MAILTO:a@b.org", ""}) {
            b.setUrl(url);
            b.GoToURL();
        }
        QCOMPARE(b.log, (QStringList{"mail mailto:a@b.org", "navigate MAILTO:a@b.org"}));
    }

    void hoverInAndOut() {
        ProbedButton b;
        b.setPicture(filled(Qt::red));
        b.setPictureHover(filled(Qt::green));
        const auto shownColor = [&b] {
            return b.currentPicture().toImage().pixelColor(0, 0);
        };
        QTest::mouseMove(&b, {-1, 5});
        QVERIFY(!b.isHovering());
        QTest::mouseMove(&b, {5, 5});
        QCOMPARE(shownColor(), QColor(Qt::green));
        QTest::mouseMove(&b, {6, 5});
        b.inside = false;
        QTRY_VERIFY(!b.isHovering());
        QCOMPARE(shownColor(), QColor(Qt::red));
        QCOMPARE(b.log, (QStringList{"in", "out"}));

        // Held and dragged off: still pressed, drawn raised until the pointer comes back.
        b.inside = true;
        QTest::mouseMove(&b, {5, 5});
        QTest::mousePress(&b, Qt::LeftButton, {}, {5, 5});
        b.inside = false;
        QTRY_VERIFY(!b.isHovering());
        QBKButtonLook look;
        b.initLook(look);
        QVERIFY(b.isPressed() && !look.frame.contentPushed);
        b.inside = true;
        QTest::mouseMove(&b, {5, 5});
        b.initLook(look);
        QVERIFY(look.frame.contentPushed);
    }

    // The Qt side of the saved properties: pictures and the widget's own enabled state.
    void propertiesInQtTypes() {
        ProbedButton b;
        b.setPicture(filled(Qt::blue, {20, 10}));
        b.setEnabled(false);
        MemoryStore store;
        b.save(store);
        QCOMPARE(QString::fromStdString(store.values["Enabled"]), QStringLiteral("0"));
        ProbedButton copy;
        copy.load(store);
        QVERIFY(!copy.isEnabled());
        QCOMPARE(copy.currentPicture().size(), QSize(20, 10));
        QCOMPARE(copy.currentPicture().toImage().pixelColor(0, 0), QColor(Qt::blue));
        QCOMPARE(copy.properties().number(ButtonProperty::OriginalPicSizeW), 20);
    }

    // The painter draws what the plan says: no frame is the face alone, a frame and the
    // dotted focus rectangle each change it.
    void paintingFollowsThePlan() {
        QBKButtons b;
        b.set(ButtonProperty::BackColor, ColorValue{0x405060});
        b.setGeometry(0, 0, 60, 24);
        QBKButtonLook look;
        b.initLook(look);
        QImage face(look.rect.size(), QImage::Format_ARGB32);
        face.fill(QColor(0x60, 0x50, 0x40));
        look.frame = FramePlan{};
        QCOMPARE(render(look), face);
        for (const FrameKind kind :
             {FrameKind::Raised, FrameKind::Sunken, FrameKind::Outline, FrameKind::Xp}) {
            look.frame.kind = kind;
            QVERIFY(render(look) != face);
        }
        look.frame = FramePlan{};
        look.frame.focusRect = true;
        QVERIFY(render(look) != face);
    }
};

QTEST_MAIN(TestUi)
#include "tst_ui.moc"
