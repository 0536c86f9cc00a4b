#include "net/immediate_connection.h"

#include "socket_system.h"

#include <utility>

namespace cvl {

ImmediateConnection::ImmediateConnection(NativeSocket socket, std::string peer,
                                         std::uint16_t localPort)
    : socket_(socket)
    , peer_(std::move(peer))
    , localPort_(localPort) {}

ImmediateConnection::~ImmediateConnection() {
    // The end of the connection rides on the segment that carries the answer. Shutting down
    // first sends both even when the client left bytes unread, where closing alone would
    // reset the connection and drop what is still queued.
    ::shutdown(sys::native(socket_), sys::kEndSending);
    sys::closeSocket(socket_);
}

bool ImmediateConnection::send(std::string_view data) {
    // A fresh connection's send buffer takes these few bytes whole.
    return ::send(sys::native(socket_), data.data(), static_cast<int>(data.size()),
                  sys::kLastSendFlags) == static_cast<int>(data.size());
}

void closeSocket(NativeSocket socket) {
    sys::closeSocket(socket);
}

} // namespace cvl
