#include "platform/linux/socket_reading.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

namespace cvl {

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

ReadEnd readWaiting(int socket, std::string& into, int rounds) {
    constexpr std::size_t kChunk = 16384;
    for (int round = 0; round < rounds; ++round) {
        const std::size_t had = into.size();
        into.resize(had + kChunk);
        const ssize_t got = ::recv(socket, into.data() + had, kChunk, 0);
        into.resize(had + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (got == 0) {
            return ReadEnd::Ended;
        }
        if (got < 0) {
            return wouldBlock() ? ReadEnd::Drained : ReadEnd::Broken;
        }
    }
    return ReadEnd::Drained;
}

} // namespace cvl
