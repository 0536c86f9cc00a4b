// What every face shows, as the status model words it: the overview before and after the
// first answer, a service's sockets and counters, the tip and the last clients. The Qt window,
// the Windows window and the headless lines all lay out these same texts.
#include "log/request_log.h"
#include "loopback.h"
#include "reference_responder.h"
#include "server_rig.h"

#include <gtest/gtest.h>

using namespace cvl;
using namespace std::chrono_literals;

namespace {

TEST(StatusModel, FromTheFirstQueryToTheFirstAnswer) {
    test::ServerRig rig;
    test::ReferenceResponder reference(*rig.loop);
    reference.holding = true;
    rig.options.referencePort = reference.port();
    const std::uint16_t port = test::freePort(*rig.loop);
    rig.writeServerFile();
    rig.store.putHome("Settings", "NO:30:Second/s:NA:36");
    rig.store.putHome("NTP37", "YES:YES:YES:" + std::to_string(port));
    rig.store.putHome("UNIX519", "NO:YES:NO:519");
    ServerController& server = rig.server();
    StatusModel& status = server.status();
    struct Seen final : StatusObserver {
        void statusChanged(StatusChange change) override { changes.push_back(change); }
        std::vector<StatusChange> changes;
    } seen;
    status.addObserver(seen);
    server.start();
    ASSERT_TRUE(rig.runUntil([&] { return reference.requests == 1; }));

    EXPECT_EQ(status.caption(), fixedTitle());
    EXPECT_EQ(status.tip(), " Checking Time Server: Loopback NA ");
    EXPECT_TRUE(status.checking());
    OverviewStatus overview = status.overview();
    EXPECT_EQ(overview.clients, "Not synchronised: clients are refused until the first answer");
    EXPECT_EQ(overview.lastQuery, "127.0.0.1, at " + generalDateText(rig.clock.localNow()));
    EXPECT_EQ(overview.nextQuery, "in 30 s");
    EXPECT_TRUE(overview.syncResult.empty());
    const std::string portText = std::to_string(port);
    ServiceStatus time = status.service(ServiceId::Time);
    EXPECT_EQ(time.tcpState, "port " + portText + ": waiting for the first synchronisation");
    EXPECT_EQ(time.udpState, "bound to port " + portText);
    EXPECT_EQ(time.sockets, (std::vector<std::string>{"TCP " + portText +
                                                          ": waiting for the first synchronisation",
                                                      "UDP " + portText}));
    EXPECT_EQ(time.lastClient, "none yet");
    EXPECT_EQ(status.service(ServiceId::Unix).tcpState, "closed");
    EXPECT_EQ(status.service(ServiceId::Ntp).tcpRequests, "not counted");

    reference.release();
    ASSERT_TRUE(rig.runUntil([&] { return status.synchronised(); }));
    EXPECT_FALSE(status.checking());
    EXPECT_TRUE(status.tip().starts_with(" Adjusted by: ")) << status.tip();
    overview = status.overview();
    EXPECT_EQ(overview.clients, "Synchronised: every enabled service answers its clients");
    EXPECT_TRUE(overview.lastQuery.empty());
    EXPECT_TRUE(overview.syncResult.starts_with(status.syncMessage() + " ("))
        << overview.syncResult;
    EXPECT_TRUE(overview.reference.starts_with("127.0.0.1 (127.0.0.1), at ")) << overview.reference;
    time = status.service(ServiceId::Time);
    EXPECT_EQ(time.tcpState, "listening on port " + portText);

    ASSERT_EQ(test::udpExchange(*rig.loop, port, "x", 4).size(), 4u);
    time = status.service(ServiceId::Time);
    EXPECT_EQ(time.udpRequests, "1");
    EXPECT_EQ(time.lastClient, "127.0.0.1, at " + generalDateText(rig.clock.localNow()));
    EXPECT_EQ(status.clientBox(0).address, "127.0.0.1");
    EXPECT_EQ(status.lampCount(Lamp::DataOut), 4u);
    status.removeObserver(seen);
    for (const StatusChange change :
         {StatusChange::TimeZone, StatusChange::Servers, StatusChange::Tip, StatusChange::Checking,
          StatusChange::Synchronised}) {
        EXPECT_NE(std::find(seen.changes.begin(), seen.changes.end(), change), seen.changes.end());
    }
}

} // namespace
