// Why a socket call failed, in the terms the shared socket code acts on; each platform's
// socket_system.h maps its own error codes to these, and gives the system's own words.
#pragma once

#include <string>

namespace cvl::sys {

enum class Failure {
    WouldBlock,
    InProgress,
    AddressInUse,
    PermissionDenied, // a port below 1024 without the right to it, or a port held exclusively
    FamilyMissing,
    OutOfResources,
    NotUsable,
    Other
};

// A failure as it is reported: its kind and the operating system's own text for it.
struct SocketError {
    Failure failure = Failure::Other;
    std::string text;
};

} // namespace cvl::sys
