#include "platform/socket_advice.h"

namespace cvl {

std::string socketAdvice(sys::Failure failure, std::uint16_t port, bool datagram) {
    if (failure != sys::Failure::AddressInUse && failure != sys::Failure::PermissionDenied) {
        return {};
    }
    // Winsock says "access denied" for a port another program holds exclusively.
    if (port == 123 && datagram) {
        return "; the Windows Time service usually holds it: stop it (net stop w32time) and "
               "set it to start manually, or give this service another port";
    }
    return "; another program holds it: stop it, or give this service another port";
}

} // namespace cvl
