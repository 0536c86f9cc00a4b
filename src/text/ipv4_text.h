// An IPv4 address as a dotted quad, formatted by hand: this runs for every request, and
// printf-style formatting costs more than the rest of a reply.
#pragma once

#include <cstdint>
#include <string>

namespace cvl {

// `address` in host byte order.
[[nodiscard]] std::string ipv4Text(std::uint32_t address);

} // namespace cvl
