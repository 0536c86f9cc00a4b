// chronvale-server: the daemon, which links no widgets at all. Where there is a display and
// --headless is not given, it becomes the desktop program installed beside it, which shows
// the window and tray icon over the same server.
#include "app/headless_status.h"
#include "app/run_server.h"
#include "core/cvl_server.h"
#include "platform/stderr_prompter.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <cstdio>
#include <unistd.h>

namespace {

bool displayAvailable() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// The desktop program: beside this one in a build tree, in libexec when installed.
QByteArray desktopProgram(const char* argv0) {
    const QString self = QFileInfo(QString::fromLocal8Bit(argv0)).absolutePath();
    for (const QString& candidate :
         {self + QStringLiteral("/chronvale-server-desktop"),
          self + QStringLiteral("/../" CHRONVALE_LIBEXEC_DIR "/chronvale-server-desktop")}) {
        if (QFileInfo(candidate).isExecutable()) {
            return QFile::encodeName(candidate);
        }
    }
    return {};
}

// Standard error for the status line and the synchronisation result, No for every question.
class HeadlessFrontEnd final : public cvl::FrontEnd {
public:
    cvl::Prompter& prompter() override { return prompter_; }
    void build(cvl::CVL_Server& server) override {
        new cvl::HeadlessStatus(
            server, [](const QString& line) { cvl::writeStderrLine(line.toStdString()); });
    }
    void startUp(bool) override {}
    void release() override {}

private:
    cvl::StderrPrompter prompter_;
};

} // namespace

int main(int argc, char* argv[]) {
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(cvl::argumentList(argc, argv));
    if (const std::optional<int> status = cvl::handleInformationalOptions(parsed)) {
        return *status;
    }
    if (!parsed.line->headless && displayAvailable()) {
        const QByteArray desktop = desktopProgram(argv[0]);
        if (!desktop.isEmpty()) {
            // The start-with-the-system entry must name this program, not the one it becomes.
            qputenv(
                "CHRONVALE_SERVER_PROGRAM",
                QFile::encodeName(QFileInfo(QString::fromLocal8Bit(argv[0])).absoluteFilePath()));
            ::execv(desktop.constData(), argv);
        }
        std::fputs("chronvale-server: the desktop program is not installed; running headless\n",
                   stderr);
    }
    // Qt's own event dispatcher: lighter per event than the GLib one, which only a desktop
    // integration needs.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    HeadlessFrontEnd frontEnd;
    return cvl::runServer(*parsed.line, frontEnd);
}
