// chronvale-server-desktop: the server with its window and tray icon. Started by
// chronvale-server when a display is available, with the same command line.
#include "app/run_server.h"
#include "ui/qt/desktop_front_end.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(cvl::argumentList(argc, argv));
    if (const std::optional<int> status = cvl::handleInformationalOptions(parsed)) {
        return *status;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("chronvale-server"));
    QApplication::setQuitOnLastWindowClosed(false); // the tray icon keeps it running
    cvl::DesktopFrontEnd frontEnd;
    return cvl::runServer(*parsed.line, frontEnd);
}
