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
    ::close(descriptor_);
}

bool ImmediateConnection::send(QByteArrayView data) {
    // A fresh connection's send buffer takes these few bytes whole.
    return ::send(descriptor_, data.data(), static_cast<std::size_t>(data.size()),
                  MSG_NOSIGNAL | MSG_DONTWAIT) == data.size();
}

} // namespace cvl
