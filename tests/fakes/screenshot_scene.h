// The server both desktops' screenshots show: three reference servers on loopback that answer
// only when released (with a plausible offset), every service on a free port, and Daytime's
// port taken, so that the two-line conflict shows in the status line. Nothing leaves this
// machine.
#pragma once

#include "core/service_table.h"
#include "loopback.h"
#include "net/stream_listener.h"
#include "reference_responder.h"
#include "server_rig.h"

#include <memory>

namespace cvl::test {

struct ScreenshotScene {
    explicit ScreenshotScene(ServerRig& rig)
        : reference(*rig.loop)
        , blocker(std::make_unique<StreamListener>(*rig.loop)) {
        reference.holding = true;
        // 2004-01-01 00:00:00.0012 UTC, just after the fake clock's time.
        reference.fixed = {{3281904000u, 5153960u}};
        const std::uint16_t daytimePort = freePort(*rig.loop);
        (void)blocker->listen(daytimePort);
        rig.options.referencePort = reference.port();
        rig.writeServerFile({"127.0.0.1:::NIST Gaithersburg, USA NA:::0:::",
                             "127.0.0.1:::NRC Ottawa, Canada NA:::1:::",
                             "127.0.0.1:::PTB Braunschweig, Germany EU:::8:::"});
        for (const ServiceRow& row : serviceTable()) {
            rig.store.putHome(row.registryValue,
                              "YES:YES:YES:" + std::to_string(freePort(*rig.loop)));
        }
        rig.store.putHome("DTS13", "YES:YES:NO:" + std::to_string(daytimePort));
        rig.store.putHome("Settings", "YES:59:Minutes/s:NA:36");
    }
    // The last clients the boxes show.
    static void showClients(ServerController& server) {
        server.serving().showClient(0, "192.0.2.44");
        server.serving().showClient(2, "198.51.100.7");
    }
    // Daytime's port is free again, and the reference answers.
    void settle(ServerController& server) {
        blocker.reset();
        server.listeners().portKeyPressed(ServiceId::Daytime, 13);
        reference.release();
    }

    ReferenceResponder reference;
    std::unique_ptr<StreamListener> blocker;
};

} // namespace cvl::test
