#include "platform/pending_connections.h"

#include <sys/socket.h>
#include <unistd.h>

namespace cvl {

void discardPendingConnections(qintptr listenerDescriptor) {
    if (listenerDescriptor < 0) {
        return;
    }
    // Bounded: a backlog never holds more than this.
    for (int i = 0; i < 65536; ++i) {
        const int connection = ::accept4(static_cast<int>(listenerDescriptor), nullptr, nullptr,
                                         SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        ::close(connection);
    }
}

} // namespace cvl
