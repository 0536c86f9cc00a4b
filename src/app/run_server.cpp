#include "app/run_server.h"

#include "app/program_folder.h"
#include "core/cvl_server.h"
#include "platform/linux/epoll_event_loop.h"
#include "platform/linux/ini_settings_store.h"
#include "platform/linux/process_signals.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_host_info.h"
#include "platform/linux/system_launcher.h"
#include "platform/linux/system_time_zone.h"
#include "platform/linux/xdg_autostart.h"
#include "platform/single_instance.h"
#include "ui/qt/event_loop_notifier.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <cstdio>
#include <unistd.h>

namespace cvl {

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

} // namespace

QStringList argumentList(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

std::optional<int> handleInformationalOptions(const CommandLineResult& parsed) {
    if (!parsed.line) {
        std::fprintf(stderr, "chronvale-server: %s\nTry 'chronvale-server --help'.\n",
                     parsed.error.toLocal8Bit().constData());
        return 2;
    }
    if (parsed.line->showHelp) {
        std::fputs(usageText().toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (!parsed.line->ignored.isEmpty()) {
        std::fprintf(stderr, "chronvale-server: ignoring what is not an option: %s\n",
                     parsed.line->ignored.join(QLatin1Char(' ')).toLocal8Bit().constData());
    }
    if (parsed.line->showVersion) {
        std::printf("chronvale-server %s\n", CVL_Server::AppVersion().toLatin1().constData());
        return 0;
    }
    return std::nullopt;
}

int runServer(const CommandLine& line, FrontEnd& frontEnd) {
    QCoreApplication::setApplicationName(QStringLiteral("chronvale-server"));
    QCoreApplication::setApplicationVersion(CVL_Server::AppVersion());

    EpollEventLoop loop;
    if (!loop.isValid()) {
        std::fputs("chronvale-server: no event loop (out of descriptors?)\n", stderr);
        return 1;
    }
    const EventLoopNotifier loopInQt(loop);

    // Before anything is read or opened: a second copy leaves no trace.
    SingleInstance instance(loop);
    if (!instance.acquire()) {
        if (!frontEnd.raisesRunningCopy() || !SingleInstance::askRunningCopyToShow()) {
            std::fputs("chronvale-server: another copy is already running on this machine\n",
                       stderr);
        }
        return 1;
    }
    instance.setShowHandler([&frontEnd] { return frontEnd.showWindow(); });

    const QString settingsPath =
        QFileInfo(line.settingsFile.isEmpty() ? QString::fromStdString(defaultSettingsPath())
                                              : line.settingsFile)
            .absoluteFilePath();
    // The desktop program runs from libexec; the daemon that handed over tells where it is.
    const QString handedOver = qEnvironmentVariable("CHRONVALE_SERVER_PROGRAM");
    const QString program =
        handedOver.isEmpty() ? QCoreApplication::applicationFilePath() : handedOver;
    const QString executableFolder = QFileInfo(program).absolutePath();
    const QString programFolder =
        QDir(line.dataDir.isEmpty() ? defaultProgramFolder(executableFolder, geteuid() == 0,
                                                           QStandardPaths::writableLocation(
                                                               QStandardPaths::GenericDataLocation))
                                    : line.dataDir)
            .absolutePath();
    QDir().mkpath(programFolder);
    // Before the server starts, so that it reads the list instead of asking the update server.
    provideServerFile(programFolder, installedServerFile(executableFolder));
    QStringList command{program};
    if (!line.dataDir.isEmpty()) {
        command << QStringLiteral("--data-dir") << programFolder;
    }
    if (!line.settingsFile.isEmpty()) {
        command << QStringLiteral("--settings") << settingsPath;
    }

    SystemClock clock(!line.noSetClock);
    SystemTimeZone timeZone;
    IniSettingsStore settings(settingsPath.toStdString());
    XdgAutostart autostart(xdgConfigHome());
    SystemHostInfo host(programFolder.toStdString(), execLine(command).toStdString());
    SystemLauncher launcher;
    const Platform platform{
        loop, clock, timeZone, settings, autostart, host, frontEnd.prompter(), launcher};

    ServerOptions options;
    options.referencePort = line.referencePort;
    options.strictSync = line.strictSync;
    if (!line.updateHost.isEmpty()) {
        options.updateHost = line.updateHost;
        options.updatePort = line.updatePort;
    }
    CVL_Server server(platform, options);

    const ProcessSignals processSignals(
        loop, [](int) { QCoreApplication::quit(); }, [&server] { server.requestSync(); });

    frontEnd.build(server);
    server.start([&] { frontEnd.startUp(line.startHidden); });
    const int status = QCoreApplication::exec();
    server.shutdown();
    frontEnd.release();
    return status;
}

} // namespace cvl
