// The five services, as everything that counts, logs or shows them names them.
#pragma once

#include "net/transport.h"

#include <cstddef>
#include <cstdint>

namespace cvl {

enum class ServiceId : std::uint8_t { Daytime, Time, Ntp, Unix, Client };
inline constexpr std::size_t kServiceCount = 5;

[[nodiscard]] constexpr std::size_t indexOf(ServiceId id) {
    return static_cast<std::size_t>(id);
}

} // namespace cvl
