// How opening a service socket on a port went: open, or why not, in the shared terms and in
// the operating system's own words.
#pragma once

#include "platform/socket_failure.h"

namespace cvl {

struct OpenResult {
    bool open = false;
    sys::SocketError error; // when not open

    [[nodiscard]] bool addressInUse() const {
        return !open && error.failure == sys::Failure::AddressInUse;
    }
};

} // namespace cvl
