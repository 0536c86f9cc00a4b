// What the fuzz targets share: invariants that stop the run like a crash, and a controller on
// fakes with some services open.
#pragma once

#include "net/datagram_socket.h"
#include "server_rig.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace cvl::fuzz {

// First thing in LLVMFuzzerInitialize. The targets use the fake clock; the variable keeps the
// real one safe even from a target that reached it by mistake.
inline void prepareProcess() {
    ::setenv("CHRONVALE_NO_SET_CLOCK", "1", 1);
}

// A datagram from 127.0.0.1:`port`, as the services' socket hands one over. It points into
// `bytes`, which is exactly as long as the datagram, so that a read past its end is caught.
inline Datagram loopbackDatagram(const std::vector<char>& bytes, std::uint16_t port) {
    Datagram datagram;
    datagram.data = std::string_view(bytes.data(), bytes.size());
    datagram.size = datagram.data.size();
    datagram.sender = PeerAddress::fromIPv4(0x7F000001, port);
    datagram.senderText = "127.0.0.1";
    return datagram;
}

// A broken invariant is reported like a crash, with the input that broke it.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Starts a controller on fakes with the named services open for UDP only, on ports of the
// kernel's choosing. Its one reference server is 127.0.0.1:`referencePort` in region NA; any
// other `region` leaves the pool empty, so that it never asks. Logging is off: records do not
// depend on the input, and the file would grow with every one.
inline ServerController& startServer(test::ServerRig& rig, const std::vector<std::string>& services,
                                     const std::string& region, std::uint16_t referencePort) {
    rig.options.referencePort = referencePort;
    rig.writeServerFile();
    rig.store.putHome("Settings", "NO:59:Minutes/s:" + region + ":36");
    for (const std::string& name : services) {
        rig.store.putHome(name, "YES:NO:YES:0");
    }
    ServerController& server = rig.server();
    server.synchroniser().setRandomSource([] { return 0.5; });
    server.start();
    server.setEnableLogging(false);
    return server;
}

} // namespace cvl::fuzz

// Each target keeps its world in one State, made on the fuzzer's first call.
#define CHRONVALE_FUZZ_STATE(StateType)                                                            \
    namespace {                                                                                    \
    StateType* state = nullptr;                                                                    \
    }                                                                                              \
    extern "C" int LLVMFuzzerInitialize(int*, char***) {                                           \
        cvl::fuzz::prepareProcess();                                                               \
        static StateType instance;                                                                 \
        state = &instance;                                                                         \
        return 0;                                                                                  \
    }
