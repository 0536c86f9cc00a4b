// Saves pictures of the main window on each tree node and of the configuration dialog, for
// review by eye: screenshots OUT_DIR [dark]. Run by scripts/screenshots.sh under Xvfb.
// The overview is taken twice: waiting for a first answer that is overdue (window-1-
// unsynchronised.png, with the Daytime port conflict in the status line), then synchronised
// (window-1.png). The reference servers are on loopback: nothing leaves this machine.
#include "desktop_rig.h"
#include "screenshot_scene.h"
#include "ui/qt/config_dialog.h"
#include "ui/qt/desktop_front_end.h"
#include "ui/qt/server_window.h"

#include <QApplication>
#include <QDir>
#include <QStyleFactory>
#include <QTest>

using namespace cvl;

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    const bool dark = argc > 2 && QByteArray(argv[2]) == "dark";
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (dark) {
        QPalette palette;
        palette.setColor(QPalette::Window, QColor(0x2B, 0x2D, 0x31));
        palette.setColor(QPalette::WindowText, QColor(0xE6, 0xE6, 0xE6));
        palette.setColor(QPalette::Base, QColor(0x1E, 0x1F, 0x22));
        palette.setColor(QPalette::AlternateBase, QColor(0x2B, 0x2D, 0x31));
        palette.setColor(QPalette::Text, QColor(0xE6, 0xE6, 0xE6));
        palette.setColor(QPalette::Button, QColor(0x3C, 0x3F, 0x44));
        palette.setColor(QPalette::ButtonText, QColor(0xE6, 0xE6, 0xE6));
        palette.setColor(QPalette::Highlight, QColor(0x35, 0x74, 0xF0));
        palette.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
        QApplication::setPalette(palette);
    }
    QDir().mkpath(out);

    test::DesktopRig rig;
    test::ScreenshotScene scene(rig);
    ServerController& server = rig.server();
    DesktopFrontEnd front;
    front.build(server);
    server.start([&] { front.startUp(false); });
    test::ScreenshotScene::showClients(server);

    ServerWindow& window = front.window();
    window.CVLSelected(1);
    (void)QTest::qWaitFor([&] { return !server.status().sync().unansweredText.empty(); },
                          Synchroniser::kUnansweredAfter.count() + 2000);
    QTest::qWait(250);
    window.grab().save(out + QStringLiteral("/window-1-unsynchronised.png"));
    window.trayIconShown().pixmap(64, 64).save(out + QStringLiteral("/tray-unsynchronised.png"));

    scene.settle(server);
    (void)QTest::qWaitFor([&] { return server.status().synchronised(); }, 3000);
    window.trayIconShown().pixmap(64, 64).save(out + QStringLiteral("/tray.png"));
    for (int node = 1; node <= 8; ++node) {
        window.CVLSelected(node);
        QTest::qWait(250);
        window.grab().save(QStringLiteral("%1/window-%2.png").arg(out).arg(node));
    }
    CVL_ConfigSVR& dialog = front.configDialog();
    QTest::qWait(250);
    dialog.grab().save(out + QStringLiteral("/config-dialog.png"));
    // The painted buttons show keyboard focus in their own shading.
    if (auto* ok = dialog.findChild<QWidget*>(QStringLiteral("cfgsvrOK"))) {
        dialog.activateWindow();
        ok->setFocus(Qt::TabFocusReason);
        QTest::qWait(250);
        dialog.grab().save(out + QStringLiteral("/config-dialog-focus.png"));
    }
    return 0;
}
