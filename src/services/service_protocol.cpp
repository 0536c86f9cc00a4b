#include "services/service_protocol.h"

#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace cvl {

ImmediateConnection::ImmediateConnection(int descriptor, QString peer, quint16 localPort)
    : descriptor_(descriptor)
    , peer_(std::move(peer))
    , localPort_(localPort) {}

ImmediateConnection::~ImmediateConnection() {
    // The end of the connection rides on the segment that carries the answer. Shutting down
    // first sends both even when the client left bytes unread, where close() alone would
    // reset the connection and drop what is still queued.
    ::shutdown(descriptor_, SHUT_WR);
    ::close(descriptor_);
}

bool ImmediateConnection::send(QByteArrayView data) {
    // A fresh connection's send buffer takes these few bytes whole. MSG_MORE holds them back
    // until the connection is closed, so that answer and end leave as one segment.
    return ::send(descriptor_, data.data(), static_cast<std::size_t>(data.size()),
                  MSG_NOSIGNAL | MSG_DONTWAIT | MSG_MORE) == data.size();
}

} // namespace cvl
