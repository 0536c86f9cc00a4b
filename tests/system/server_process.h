// The real executable started the way tests must start it: never allowed to set the clock,
// with its settings, data and desktop folders inside a temporary directory.
#pragma once

#include "loopback.h"
#include "server_rig.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QSettings>
#include <csignal>

namespace cvl::test {

struct Ports {
    quint16 time = freePort(), daytime = freePort(), ntp = freePort(), unix = freePort(),
            client = freePort();
};

class ServerProcess {
public:
    ServerProcess() {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("CHRONVALE_NO_SET_CLOCK"), QStringLiteral("1"));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("xdg")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.path());
        process.setProcessEnvironment(env);
        process.setProgram(QStringLiteral(CHRONVALE_SERVER_EXE));
        QObject::connect(&process, &QProcess::readyReadStandardError,
                         [this] { errors += process.readAllStandardError(); });
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
    [[nodiscard]] QString serverFile() const {
        return dataDir() + QStringLiteral("/QBK_CVLS4.CVL");
    }
    [[nodiscard]] QStringList safeArguments() const {
        return {QStringLiteral("--headless"), QStringLiteral("--no-set-clock"),
                QStringLiteral("--settings"), settingsPath(),
                QStringLiteral("--data-dir"), dataDir()};
    }

    // Every service on both transports (the client protocol on TCP only) and one reference
    // server on loopback.
    void configure(const Ports& ports) {
        QSettings ini(settingsPath(), QSettings::IniFormat);
        ini.setValue("Settings", "NO:59:Minutes/s:NA:36");
        ini.setValue("NTP37", QStringLiteral("YES:YES:YES:%1").arg(ports.time));
        ini.setValue("DTS13", QStringLiteral("YES:YES:YES:%1").arg(ports.daytime));
        ini.setValue("SNTP123", QStringLiteral("YES:YES:YES:%1").arg(ports.ntp));
        ini.setValue("UNIX519", QStringLiteral("YES:YES:YES:%1").arg(ports.unix));
        ini.setValue("CVL3777", QStringLiteral("YES:YES:NO:%1").arg(ports.client));
        writeServerFile();
    }
    void writeServerFile(const QStringList& entries = {
                             QStringLiteral("127.0.0.1:::Loopback NA:::2:::")}) {
        test::writeServerFile(serverFile(), entries);
    }
    // Started directly, or under a `wrapper` command (prlimit, ip netns exec).
    void start(const QStringList& extra = {}, const QStringList& wrapper = {}) {
        const QStringList arguments = safeArguments() + extra;
        if (wrapper.isEmpty()) {
            process.start(QStringLiteral(CHRONVALE_SERVER_EXE), arguments);
        } else {
            process.start(wrapper.first(),
                          wrapper.mid(1) + QStringList{CHRONVALE_SERVER_EXE} + arguments);
        }
    }
    // Whether its clock has been set from the reference within the time allowed.
    bool waitSynchronised() {
        return process.waitForStarted(5000) &&
               QTest::qWaitFor([this] { return errors.contains("Synchronized"); }, 5000);
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
    QByteArray errors; // standard error so far
    QProcess process;  // last: it goes first, before what it writes into
};

} // namespace cvl::test
