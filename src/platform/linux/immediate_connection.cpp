#include "platform/immediate_connection.h"

#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace cvl {

ImmediateConnection::ImmediateConnection(NativeSocket socket, std::string peer,
                                         std::uint16_t localPort)
    : socket_(socket)
    , peer_(std::move(peer))
    , localPort_(localPort) {}

ImmediateConnection::~ImmediateConnection() {
    // The end of the connection rides on the segment that carries the answer. Shutting down
    // first sends both even when the client left bytes unread, where close() alone would
    // reset the connection and drop what is still queued.
    ::shutdown(static_cast<int>(socket_), SHUT_WR);
    ::close(static_cast<int>(socket_));
}

bool ImmediateConnection::send(std::string_view data) {
    // A fresh connection's send buffer takes these few bytes whole. MSG_MORE holds them back
    // until the connection is closed, so that answer and end leave as one segment.
    return ::send(static_cast<int>(socket_), data.data(), data.size(),
                  MSG_NOSIGNAL | MSG_DONTWAIT | MSG_MORE) == static_cast<ssize_t>(data.size());
}

void closeSocket(NativeSocket socket) {
    ::close(static_cast<int>(socket));
}

} // namespace cvl
