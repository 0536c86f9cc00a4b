// What an operator can do about a port the server cannot open, in this system's terms.
#pragma once

#include "platform/socket_failure.h"

#include <cstdint>
#include <string>

namespace cvl {

// Advice to follow the system's own words, starting with "; ", or empty when there is none.
[[nodiscard]] std::string socketAdvice(sys::Failure failure, std::uint16_t port, bool datagram);

} // namespace cvl
