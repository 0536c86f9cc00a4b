// An NTP datagram as it arrives on the NTP service's UDP socket, handed to the service as its
// socket handler hands each one over, with the controller (on fakes) as its host: requests,
// and forged answers to the server's own query with the matching rule and the clock
// arithmetic behind them. The fake clock records what would have been set.
//
// Byte 0 sets the scene, the rest is the datagram:
//   bits 0-1  0 or 3: a query is out; 1: nothing asked, clock never set; 2: nothing asked,
//             clock set
//   bit 2     bytes 24, 27 and 31 cleared, so that 48 bytes match the query
//   bits 3-7  the clock's millisecond reading, n x 33 (31 gives 999: no timestamp possible)
#include "core/serving_context.h"
#include "fuzz_support.h"
#include "services/ntp_service.h"

#include <memory>
#include <vector>

using namespace cvl;

namespace {

struct Scene {
    test::ServerRig rig;
    std::unique_ptr<NtpService> ntp;
};

struct State {
    State() {
        sink.bind(0); // takes queries and replies, never read
        const std::vector<std::string> ntpOnly{"SNTP123"};
        fuzz::startServer(asking.rig, ntpOnly, "NA", sink.localPort());
        fuzz::startServer(unset.rig, ntpOnly, "EU", sink.localPort());
        fuzz::startServer(set.rig, ntpOnly, "EU", sink.localPort()).listeners().setTimeSynced();
        for (Scene* scene : {&asking, &unset, &set}) {
            ServingContext& serving = scene->rig.server().serving();
            scene->ntp = std::make_unique<NtpService>(serving, serving, serving);
        }
    }

    std::unique_ptr<EventLoop> loop = makeEventLoop();
    DatagramSocket sink{*loop};
    Scene asking;
    Scene unset;
    Scene set;
};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t scene = data[0];
    const bool waiting = (scene & 3) == 0 || (scene & 3) == 3;
    Scene& s = waiting ? state->asking : (scene & 3) == 1 ? state->unset : state->set;
    ServerController& server = s.rig.server();
    if (waiting && !server.synchroniser().awaitingReply()) {
        server.synchroniser().syncNow();
    }
    s.rig.clock.setMilliseconds(std::min((scene >> 3) * 33, 999));

    // Exactly as long as the datagram, so that a read past its end is caught.
    std::vector<char> bytes(data + 1, data + size);
    if ((scene & 4) != 0 && bytes.size() > 31) {
        bytes[24] = bytes[27] = bytes[31] = 0;
    }
    const Datagram request = fuzz::loopbackDatagram(bytes, state->sink.localPort());
    s.ntp->datagramArrived(server.listeners().udpSocket(ServiceId::Ntp), request);

    // Only a 48-byte answer to a query that is out sets the clock, once, and ends the wait.
    const std::vector<SystemTime>& sets = s.rig.clock.setCalls;
    fuzz::require(sets.size() <= 1);
    fuzz::require(sets.empty() ||
                  (waiting && bytes.size() == 48 && !server.synchroniser().awaitingReply()));
    s.rig.clock.setCalls.clear();
    return 0;
}
