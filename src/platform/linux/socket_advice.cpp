#include "platform/socket_advice.h"

namespace cvl {

std::string socketAdvice(sys::Failure failure, std::uint16_t port, bool datagram) {
    if (failure == sys::Failure::PermissionDenied && port < 1024) {
        return "; ports below 1024 need root or the CAP_NET_BIND_SERVICE capability (setcap "
               "cap_net_bind_service=+ep on the program, or AmbientCapabilities= in its "
               "systemd unit)";
    }
    if (failure == sys::Failure::AddressInUse) {
        if (port == 123 && datagram) {
            return "; another time server (chronyd, ntpd, systemd-timesyncd's server) holds it: "
                   "stop it, or give this service another port";
        }
        return "; another program holds it: stop it, or give this service another port";
    }
    return {};
}

} // namespace cvl
