// Connections that a paused listener left waiting in the kernel's backlog.
#pragma once

#include <QtGlobal>

namespace cvl {

// Accepts and closes every connection waiting on a listening socket, without blocking.
void discardPendingConnections(qintptr listenerDescriptor);

} // namespace cvl
