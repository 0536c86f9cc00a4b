#include "net/socket_reading.h"

#include "socket_system.h"

namespace cvl {

ReadEnd readWaiting(NativeSocket socket, std::string& into, int rounds) {
    constexpr std::size_t kChunk = 16384;
    for (int round = 0; round < rounds; ++round) {
        const std::size_t had = into.size();
        into.resize(had + kChunk);
        const auto got = ::recv(sys::native(socket), into.data() + had, kChunk, 0);
        into.resize(had + static_cast<std::size_t>(got > 0 ? got : 0));
        if (got == 0) {
            return ReadEnd::Ended;
        }
        if (got < 0) {
            return sys::lastFailure() == sys::Failure::WouldBlock ? ReadEnd::Drained
                                                                  : ReadEnd::Broken;
        }
    }
    return ReadEnd::Drained;
}

} // namespace cvl
