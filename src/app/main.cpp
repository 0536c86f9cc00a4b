// chronvale-server: builds the platform adapters, the controller and its front-end (a window
// and tray icon, or none when headless), and runs the event loop until the window closes or
// SIGINT/SIGTERM arrives.
#include "app/command_line.h"
#include "app/program_folder.h"
#include "core/cvl_server.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_host_info.h"
#include "platform/linux/system_launcher.h"
#include "platform/linux/system_time_zone.h"
#include "platform/linux/termination_signals.h"
#include "platform/linux/xdg_autostart.h"
#include "platform/single_instance.h"
#include "platform/stderr_prompter.h"
#include "ui/desktop_front_end.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

// A desktop-entry Exec line: arguments with blanks are quoted.
QString execLine(const QStringList& words) {
    QStringList quoted;
    for (const QString& word : words) {
        quoted << (word.contains(QLatin1Char(' ')) ? QLatin1Char('"') + word + QLatin1Char('"')
                                                   : word);
    }
    return quoted.join(QLatin1Char(' '));
}

bool displayAvailable() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

} // namespace

int main(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(arguments);
    if (!parsed.line) {
        std::fprintf(stderr, "chronvale-server: %s\nTry 'chronvale-server --help'.\n",
                     parsed.error.toLocal8Bit().constData());
        return 2;
    }
    const cvl::CommandLine& line = *parsed.line;
    if (line.showHelp) {
        std::fputs(cvl::usageText().toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (line.showVersion) {
        std::printf("chronvale-server %s\n", cvl::CVL_Server::AppVersion().toLatin1().constData());
        return 0;
    }

    const bool headless = line.headless || !displayAvailable();
    std::unique_ptr<QCoreApplication> app;
    if (headless) {
        app = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        app = std::make_unique<QApplication>(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false); // the tray icon keeps it running
    }
    QCoreApplication::setApplicationName(QStringLiteral("chronvale-server"));
    QCoreApplication::setApplicationVersion(cvl::CVL_Server::AppVersion());

    const QString settingsPath =
        QFileInfo(line.settingsFile.isEmpty() ? cvl::defaultSettingsPath() : line.settingsFile)
            .absoluteFilePath();
    cvl::SingleInstance instance(settingsPath);
    if (!instance.acquire()) {
        std::fprintf(stderr, "chronvale-server: already running with the settings %s\n",
                     settingsPath.toLocal8Bit().constData());
        return 1;
    }

    const QString executableFolder = QCoreApplication::applicationDirPath();
    const QString programFolder =
        QDir(line.dataDir.isEmpty()
                 ? cvl::defaultProgramFolder(
                       executableFolder, geteuid() == 0,
                       QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
                 : line.dataDir)
            .absolutePath();
    QDir().mkpath(programFolder);
    // Before the server starts, so that it reads the list instead of asking the update server.
    cvl::provideServerFile(programFolder, cvl::installedServerFile(executableFolder));
    QStringList command{QCoreApplication::applicationFilePath()};
    if (!line.dataDir.isEmpty()) {
        command << QStringLiteral("--data-dir") << programFolder;
    }
    if (!line.settingsFile.isEmpty()) {
        command << QStringLiteral("--settings") << settingsPath;
    }

    cvl::SystemClock clock(!line.noSetClock);
    cvl::SystemTimeZone timeZone;
    cvl::IniSettingsStore settings(settingsPath);
    cvl::XdgAutostart autostart(cvl::xdgConfigHome());
    cvl::SystemHostInfo host(programFolder, execLine(command));
    cvl::StderrPrompter stderrPrompter;
    cvl::DesktopPrompter desktopPrompter;
    cvl::SystemLauncher launcher;
    cvl::Prompter& prompter = headless ? static_cast<cvl::Prompter&>(stderrPrompter)
                                       : static_cast<cvl::Prompter&>(desktopPrompter);
    const cvl::Platform platform{clock, timeZone, settings, autostart, host, prompter, launcher};

    cvl::ServerOptions options;
    options.referencePort = line.referencePort;
    if (!line.updateHost.isEmpty()) {
        options.updateHost = line.updateHost;
        options.updatePort = line.updatePort;
    }
    cvl::CVL_Server server(platform, options);

    cvl::TerminationSignals termination;
    QObject::connect(&termination, &cvl::TerminationSignals::terminationRequested, app.get(),
                     &QCoreApplication::quit);

    std::unique_ptr<cvl::DesktopFrontEnd> frontEnd;
    if (headless) {
        // The status line and the synchronisation result go to standard error, a line each.
        QObject::connect(&server, &cvl::CVL_Server::statusTextChanged, &cvl::writeStderrLine);
        QObject::connect(&server, &cvl::CVL_Server::syncMessageChanged, &cvl::writeStderrLine);
        server.start();
    } else {
        frontEnd = std::make_unique<cvl::DesktopFrontEnd>(server, desktopPrompter);
        server.start([&] { frontEnd->startUp(line.startHidden); });
    }

    const int status = QCoreApplication::exec();
    server.shutdown();
    frontEnd.reset();
    return status;
}
