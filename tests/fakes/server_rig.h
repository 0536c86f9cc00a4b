// A controller wired to fakes of every adapter, with its program folder in a temporary
// directory: what most controller tests start from.
#pragma once

#include "core/cvl_server.h"
#include "fake_autostart.h"
#include "fake_clock.h"
#include "fake_host_info.h"
#include "fake_launcher.h"
#include "fake_prompter.h"
#include "fake_time_zone.h"
#include "memory_settings_store.h"

#include <QFile>
#include <QTemporaryDir>
#include <memory>

namespace cvl::test {

struct ServerRig {
    ServerRig() { host.folder = folder.path(); }

    // The reference-server list in the program folder: five header lines, then the entries.
    void writeServerFile(const QStringList& entries = {
                             QStringLiteral("127.0.0.1:::Loopback NA:::2:::")}) {
        QFile file(folder.filePath(QStringLiteral("QBK_CVLS4.CVL")));
        if (file.open(QIODevice::WriteOnly)) {
            file.write("h1\r\nh2\r\nh3\r\nh4\r\nh5\r\n");
            for (const QString& entry : entries) {
                file.write(entry.toUtf8() + "\r\n");
            }
        }
    }

    CVL_Server& server() {
        if (!instance) {
            instance = std::make_unique<CVL_Server>(
                Platform{clock, timeZone, store, autostart, host, prompter, launcher}, options);
        }
        return *instance;
    }

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
