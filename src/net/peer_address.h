// A peer's address and port, whatever the family: IPv4 peers are kept in the IPv4-mapped IPv6
// form (::ffff:a.b.c.d), so that above the sockets both families look alike, and appear as
// plain dotted quads in the display and the log.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cvl {

class PeerAddress {
public:
    PeerAddress() = default;
    PeerAddress(const std::array<std::uint8_t, 16>& bytes, std::uint16_t port)
        : bytes_(bytes)
        , port_(port) {}
    // `address` in host byte order.
    [[nodiscard]] static PeerAddress fromIPv4(std::uint32_t address, std::uint16_t port);
    // An IPv4 or IPv6 literal ("192.0.2.1", "::1"); nullopt for anything else.
    [[nodiscard]] static std::optional<PeerAddress> fromText(std::string_view text,
                                                             std::uint16_t port);

    [[nodiscard]] const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }
    [[nodiscard]] std::uint16_t port() const { return port_; }
    [[nodiscard]] bool isIPv4() const;
    // The IPv4 address in host byte order; meaningful when isIPv4().
    [[nodiscard]] std::uint32_t ipv4() const;
    // A dotted quad, or IPv6 in its shortest form ("2001:db8::1").
    [[nodiscard]] std::string text() const;
    // The addresses alone: the ports play no part.
    [[nodiscard]] bool operator==(const PeerAddress& other) const { return bytes_ == other.bytes_; }

private:
    std::array<std::uint8_t, 16> bytes_{};
    std::uint16_t port_ = 0;
};

} // namespace cvl
