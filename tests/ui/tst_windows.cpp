// The desktop views on the offscreen platform: the tree and controls that start-up builds,
// clicks in the window reaching the controller, and the configuration dialog's rules.
#include "server_rig.h"
#include "test_ports.h"
#include "ui/config_dialog.h"
#include "ui/desktop_front_end.h"
#include "ui/server_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>
#include <QTreeWidget>

using namespace cvl;

class TestWindows : public QObject {
    Q_OBJECT

    std::unique_ptr<test::ServerRig> rig;
    std::unique_ptr<DesktopFrontEnd> front;

    void startWith(const QString& region, bool hidden = false) {
        rig = std::make_unique<test::ServerRig>();
        rig->writeServerFile();
        rig->store.putHome("NTP37", QString("YES:YES:YES:%1").arg(test::freePort()));
        rig->store.putHome("Settings", "NO:59:Minutes/s:" + region + ":36");
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
        rig.reset();
    }

    void startUpBuildsTreeAndControls() {
        startWith("NA");
        ServerWindow& window = front->window();
        QVERIFY(window.isVisible());
        QCOMPARE(window.selectedNode(), 1);
        auto* tree = find<QTreeWidget>(&window, "CVL_TV");
        QTreeWidgetItem* root = tree->topLevelItem(0);
        QStringList nodes{root->text(0)};
        for (int i = 0; i < root->childCount(); ++i) {
            nodes << root->child(i)->text(0);
        }
        QCOMPARE(nodes, QStringList({"CVL Servers", "Time Service Server", "Daytime Service Server",
                                     "SNTP v4 Service Server", "UnixTime Service Server",
                                     "CVL Server Client Server", "CVL About/Help",
                                     "CVL Advanced Config"}));
        auto* units = find<QComboBox>(&window, "SyncIntC");
        QCOMPARE(units->count(), 4);
        QCOMPARE(units->itemText(0) + units->itemText(3), QStringLiteral("Second/sDay/s"));
        QCOMPARE(units->placeholderText(), QStringLiteral("Minutes/s"));
        QVERIFY(rig->server().LogEnabled());

        cleanup();
        startWith("NA", true);
        QVERIFY(!front->window().isVisible());
    }

    void windowClicksReachTheController() {
        startWith("NA");
        ServerWindow& window = front->window();
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
        QCOMPARE(rig->server().listeners().controls(ServiceId::Time).portText,
                 QStringLiteral("abc"));
        QCOMPARE(port->toolTip(), kPortRegisteredTip);

        // Letters in the interval box go, one change at a time, until a number is left.
        auto* every = find<QLineEdit>(&window, "SyncN");
        every->setText(QStringLiteral("15xy"));
        QCOMPARE(every->text(), QStringLiteral("15"));
        QCOMPARE(rig->server().syncControls().syncN, QStringLiteral("15"));
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
        QCOMPARE(dialog.windowTitle(), "CONFIG - " + rig->server().windowCaption());
        auto* regions = find<QComboBox>(&dialog, "Regions");
        QTEST(regions->currentIndex(), "index");
        QCOMPARE(regions->placeholderText(), QStringLiteral("North America NA"));
        QCOMPARE(regions->itemText(1),
                 QStringLiteral("SA - South America [Chile , Brazil, Columbia]"));
        QCOMPARE(rig->server().RegionCode(), region);
        QVERIFY(!find<QCheckBox>(&dialog, "wc3Logs")->isChecked()); // saved "NO"
    }

    void configDialogClicks() {
        startWith("NA");
        rig->autostart.present = true;
        CVL_ConfigSVR* dialog = &front->configDialog();
        auto* regions = find<QComboBox>(dialog, "Regions");
        regions->setCurrentIndex(2);
        emit regions->textActivated(regions->currentText());
        QCOMPARE(rig->server().RegionCode(), QStringLiteral("EU"));

        find<QCheckBox>(dialog, "wc3Logs")->click();
        QVERIFY(rig->server().EnableLogging());
        find<QCheckBox>(dialog, "OpenMin")->click();
        QVERIFY(rig->server().OpenMinimized());

        // The update button stays off until the check ends, even across a closed dialog.
        auto* check = find<QAbstractButton>(dialog, "CheckUpdate");
        rig->server().setCheckUpdateEnabled(false);
        QVERIFY(!check->isEnabled());
        find<QAbstractButton>(dialog, "cfgsvrOK")->click();
        QTRY_VERIFY(!front->configDialogOpen());
        dialog = &front->configDialog();
        QVERIFY(!find<QAbstractButton>(dialog, "CheckUpdate")->isEnabled());
        rig->server().setCheckUpdateEnabled(true);
        QVERIFY(find<QAbstractButton>(dialog, "CheckUpdate")->isEnabled());
    }
};

QTEST_MAIN(TestWindows)
#include "tst_windows.moc"
