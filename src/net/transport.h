// The two ways a request reaches a service.
#pragma once

#include <cstdint>
#include <string_view>

namespace cvl {

enum class Transport : std::uint8_t { Udp, Tcp };

// As the request log writes it.
[[nodiscard]] constexpr std::string_view transportName(Transport transport) {
    return transport == Transport::Tcp ? "TCP" : "UDP";
}

} // namespace cvl
