// A datagram on the Time, Daytime or Unix-time UDP socket, handed to its service as the
// socket handler hands each one over, with the controller (on fakes) as the host. The services
// answer whatever a datagram holds, so the input also sets the clock, as a reference server's
// answer could have set it: the answers then cover every date the clock can be stepped to.
//
// Byte 0 sets the scene:
//   bits 0-1  0 or 3: Time; 1: Daytime; 2: Unix time
//   bit 2     the clock has been set once (answers go out)
//   bit 3     Julian dates on the Daytime service
// Bytes 1-4: the clock, seconds since 1900 (UTC, most significant first). The rest: the
// datagram.
#include "core/serving_context.h"
#include "fuzz_support.h"
#include "services/daytime_service.h"
#include "services/time_service.h"
#include "services/unix_time_service.h"

#include "timebase/calendar.h"

#include <memory>
#include <vector>

using namespace cvl;

namespace {

struct Scene {
    test::ServerRig rig;
    std::unique_ptr<TimeService> time;
    std::unique_ptr<DaytimeService> daytime;
    std::unique_ptr<UnixTimeService> unixTime;
};

struct State {
    State() {
        sink.bind(0); // takes the answers, never read
        const std::vector<std::string> services{"NTP37", "DTS13", "UNIX519"};
        for (Scene* scene : {&unset, &set}) {
            ServerController& server =
                fuzz::startServer(scene->rig, services, "EU", sink.localPort());
            ServingContext& serving = server.serving();
            scene->time = std::make_unique<TimeService>(serving, serving);
            scene->daytime = std::make_unique<DaytimeService>(serving, serving, scene->rig.clock);
            scene->unixTime = std::make_unique<UnixTimeService>(serving, serving);
        }
        set.rig.server().listeners().setTimeSynced();
    }

    std::unique_ptr<EventLoop> loop = makeEventLoop();
    DatagramSocket sink{*loop};
    Scene unset;
    Scene set;
};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t header = 5;
    if (size < header) {
        return 0;
    }
    const std::uint8_t scene = data[0];
    Scene& s = (scene & 4) != 0 ? state->set : state->unset;
    ServerController& server = s.rig.server();
    server.setUseJulian((scene & 8) != 0);
    const std::uint32_t since1900 = static_cast<std::uint32_t>(data[1]) << 24 |
                                    static_cast<std::uint32_t>(data[2]) << 16 |
                                    static_cast<std::uint32_t>(data[3]) << 8 | data[4];
    const std::int64_t days = since1900 / 86400;
    const std::int64_t second = since1900 % 86400;
    const CivilDate date = civilFromDays(daysFromCivil(1900, 1, 1) + days);
    s.rig.clock.set({date.year, date.month, date.day, static_cast<int>(second / 3600),
                     static_cast<int>(second / 60 % 60), static_cast<int>(second % 60)});

    // Exactly as long as the datagram, so that a read past its end is caught.
    const std::vector<char> bytes(data + header, data + size);
    const Datagram request = fuzz::loopbackDatagram(bytes, state->sink.localPort());
    switch (scene & 3) {
    case 1:
        s.daytime->datagramArrived(server.listeners().udpSocket(ServiceId::Daytime), request);
        break;
    case 2:
        s.unixTime->datagramArrived(server.listeners().udpSocket(ServiceId::Unix), request);
        break;
    default:
        s.time->datagramArrived(server.listeners().udpSocket(ServiceId::Time), request);
        break;
    }
    fuzz::require(s.rig.clock.setCalls.empty());
    return 0;
}
