// The real executable started the way tests must start it: never allowed to set the clock,
// with its settings, data and desktop folders inside a temporary directory.
#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <csignal>

namespace cvl::test {

class ServerProcess {
public:
    ServerProcess() {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("CHRONVALE_NO_SET_CLOCK"), QStringLiteral("1"));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("xdg")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.path());
        process.setProcessEnvironment(env);
        process.setProgram(QStringLiteral(CHRONVALE_SERVER_EXE));
    }
    ~ServerProcess() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }

    [[nodiscard]] QString settingsPath() const {
        return dir.filePath(QStringLiteral("settings.conf"));
    }
    [[nodiscard]] QString dataDir() const { return dir.filePath(QStringLiteral("data")); }
    [[nodiscard]] QStringList safeArguments() const {
        return {QStringLiteral("--headless"), QStringLiteral("--no-set-clock"),
                QStringLiteral("--settings"), settingsPath(),
                QStringLiteral("--data-dir"), dataDir()};
    }

    // The reference-server list in the data folder.
    void writeServerFile(const QStringList& entries) {
        QDir().mkpath(dataDir());
        QFile file(dataDir() + QStringLiteral("/QBK_CVLS4.CVL"));
        if (file.open(QIODevice::WriteOnly)) {
            file.write("h1\r\nh2\r\nh3\r\nh4\r\nh5\r\n");
            for (const QString& entry : entries) {
                file.write(entry.toUtf8() + "\r\n");
            }
        }
    }

    void start(const QStringList& extra = {}) {
        process.setArguments(safeArguments() + extra);
        process.start();
    }
    // SIGTERM to the process this test started, then its exit code (-1 when it hangs).
    int terminate() {
        ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
        if (!process.waitForFinished(10000)) {
            return -1;
        }
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QTemporaryDir dir;
    QProcess process;
};

} // namespace cvl::test
