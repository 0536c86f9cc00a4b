// A controller wired to fakes of every adapter, with its program folder in a temporary
// directory: what most controller tests start from.
#pragma once

#include "core/cvl_server.h"
#include "platform_fakes.h"
#include "qt_dispatched_loop.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <memory>

namespace cvl::test {

// Whole files, for tests that prepare them or read them back; a missing file reads as empty.
inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
inline bool writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// A reference-server list: five header lines, then the entries.
inline void writeServerFile(const QString& path,
                            const QStringList& entries = {
                                QStringLiteral("127.0.0.1:::Loopback NA:::2:::")}) {
    writeFile(path, "h1\r\nh2\r\nh3\r\nh4\r\nh5\r\n" + entries.join("\r\n").toUtf8() + "\r\n");
}

struct ServerRig {
    ServerRig() { host.folder = folder.path().toStdString(); }

    void writeServerFile(const QStringList& entries = {
                             QStringLiteral("127.0.0.1:::Loopback NA:::2:::")}) {
        test::writeServerFile(folder.filePath(QStringLiteral("QBK_CVLS4.CVL")), entries);
    }

    CVL_Server& server() {
        if (!instance) {
            instance =
                std::make_unique<CVL_Server>(Platform{dispatched.loop, clock, timeZone, store,
                                                      autostart, host, prompter, launcher},
                                             options);
        }
        return *instance;
    }

    QtDispatchedLoop dispatched;
    QTemporaryDir folder;
    FakeClock clock;
    FakeTimeZone timeZone;
    MemorySettingsStore store;
    FakeAutostart autostart;
    FakeHostInfo host;
    FakePrompter prompter;
    FakeLauncher launcher;
    ServerOptions options;
    std::unique_ptr<CVL_Server> instance;
};

} // namespace cvl::test
