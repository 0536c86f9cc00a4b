// The traffic lamps of the status display: data in, data out, TCP in, UDP in.
#pragma once

#include <cstdint>

namespace cvl {

enum class Lamp : std::uint8_t { DataIn, DataOut, TcpIn, UdpIn };

} // namespace cvl
