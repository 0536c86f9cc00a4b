// Why a socket call failed, in the terms the shared socket code acts on; each platform's
// socket_system.h maps its own error codes to these.
#pragma once

namespace cvl::sys {

enum class Failure {
    WouldBlock,
    InProgress,
    AddressInUse,
    FamilyMissing,
    OutOfResources,
    NotUsable,
    Other
};

} // namespace cvl::sys
