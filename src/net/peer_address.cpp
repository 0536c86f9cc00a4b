#include "net/peer_address.h"

#include "text/ipv4_text.h"

#include <algorithm>

namespace cvl {

namespace {

constexpr std::array<std::uint8_t, 12> kMappedPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

// A decimal number up to `limit`, no sign, no leading zeros but "0" itself.
std::optional<unsigned> decimal(std::string_view text, unsigned limit) {
    if (text.empty() || text.size() > 3 || (text.size() > 1 && text[0] == '0')) {
        return std::nullopt;
    }
    unsigned value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    return value <= limit ? std::optional(value) : std::nullopt;
}

std::optional<std::uint32_t> parseIPv4(std::string_view text) {
    std::uint32_t address = 0;
    for (int part = 0; part < 4; ++part) {
        const std::size_t dot = part < 3 ? text.find('.') : text.size();
        if (dot == std::string_view::npos) {
            return std::nullopt;
        }
        const std::optional<unsigned> octet = decimal(text.substr(0, dot), 255);
        if (!octet) {
            return std::nullopt;
        }
        address = address << 8 | *octet;
        text.remove_prefix(std::min(dot + 1, text.size()));
    }
    return address;
}

std::optional<unsigned> hexGroup(std::string_view text) {
    if (text.empty() || text.size() > 4) {
        return std::nullopt;
    }
    unsigned value = 0;
    for (const char c : text) {
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0) {
            return std::nullopt;
        }
        value = value * 16 + static_cast<unsigned>(digit);
    }
    return value;
}

// Groups separated by ":", at most one "::", an IPv4 tail allowed.
std::optional<std::array<std::uint8_t, 16>> parseIPv6(std::string_view text) {
    std::array<std::uint16_t, 8> head{};
    std::array<std::uint16_t, 8> tail{};
    std::size_t heads = 0;
    std::size_t tails = 0;
    bool compressed = false;
    const std::size_t gap = text.find("::");
    std::string_view parts[2] = {text, {}};
    if (gap != std::string_view::npos) {
        compressed = true;
        parts[0] = text.substr(0, gap);
        parts[1] = text.substr(gap + 2);
        if (parts[1].find("::") != std::string_view::npos) {
            return std::nullopt;
        }
    }
    for (int side = 0; side < (compressed ? 2 : 1); ++side) {
        std::string_view rest = parts[side];
        std::array<std::uint16_t, 8>& groups = side == 0 ? head : tail;
        std::size_t& count = side == 0 ? heads : tails;
        while (!rest.empty()) {
            const std::size_t colon = rest.find(':');
            const std::string_view group = rest.substr(0, colon);
            const bool last = colon == std::string_view::npos;
            const bool finalGroup = last && side == (compressed ? 1 : 0);
            if (finalGroup && group.find('.') != std::string_view::npos) {
                const std::optional<std::uint32_t> v4 = parseIPv4(group);
                if (!v4 || count + 2 > 8) {
                    return std::nullopt;
                }
                groups[count++] = static_cast<std::uint16_t>(*v4 >> 16);
                groups[count++] = static_cast<std::uint16_t>(*v4 & 0xFFFF);
                break;
            }
            const std::optional<unsigned> value = hexGroup(group);
            if (!value || count == 8 || (!last && colon + 1 == rest.size())) {
                return std::nullopt;
            }
            groups[count++] = static_cast<std::uint16_t>(*value);
            rest = last ? std::string_view() : rest.substr(colon + 1);
        }
    }
    if (compressed ? heads + tails > 7 : heads != 8) {
        return std::nullopt;
    }
    std::array<std::uint16_t, 8> all{};
    std::copy_n(head.begin(), heads, all.begin());
    std::copy_n(tail.begin(), tails, all.begin() + static_cast<std::ptrdiff_t>(8 - tails));
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[2 * i] = static_cast<std::uint8_t>(all[i] >> 8);
        bytes[2 * i + 1] = static_cast<std::uint8_t>(all[i] & 0xFF);
    }
    return bytes;
}

} // namespace

PeerAddress PeerAddress::fromIPv4(std::uint32_t address, std::uint16_t port) {
    std::array<std::uint8_t, 16> bytes{};
    std::copy(kMappedPrefix.begin(), kMappedPrefix.end(), bytes.begin());
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[12 + i] = static_cast<std::uint8_t>(address >> (24 - 8 * i));
    }
    return {bytes, port};
}

std::optional<PeerAddress> PeerAddress::fromText(std::string_view text, std::uint16_t port) {
    if (const std::optional<std::uint32_t> v4 = parseIPv4(text)) {
        return fromIPv4(*v4, port);
    }
    if (const std::optional<std::array<std::uint8_t, 16>> v6 = parseIPv6(text)) {
        return PeerAddress(*v6, port);
    }
    return std::nullopt;
}

bool PeerAddress::isIPv4() const {
    return std::equal(kMappedPrefix.begin(), kMappedPrefix.end(), bytes_.begin());
}

std::uint32_t PeerAddress::ipv4() const {
    return std::uint32_t{bytes_[12]} << 24 | std::uint32_t{bytes_[13]} << 16 |
           std::uint32_t{bytes_[14]} << 8 | bytes_[15];
}

std::string PeerAddress::text() const {
    if (isIPv4()) {
        return ipv4Text(ipv4());
    }
    std::array<unsigned, 8> groups{};
    for (std::size_t i = 0; i < 8; ++i) {
        groups[i] = unsigned{bytes_[2 * i]} << 8 | bytes_[2 * i + 1];
    }
    // The longest run of two or more zero groups, the first of equals, becomes "::".
    std::size_t bestStart = 8;
    std::size_t bestLength = 1;
    for (std::size_t i = 0; i < 8;) {
        std::size_t length = 0;
        while (i + length < 8 && groups[i + length] == 0) {
            ++length;
        }
        if (length > bestLength) {
            bestStart = i;
            bestLength = length;
        }
        i += std::max<std::size_t>(length, 1);
    }
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < 8; ++i) {
        if (i == bestStart) {
            text += "::";
            i += bestLength - 1;
            continue;
        }
        if (i > 0 && i != bestStart + bestLength) {
            text += ':';
        }
        bool started = false;
        for (int shift = 12; shift >= 0; shift -= 4) {
            const unsigned digit = (groups[i] >> shift) & 0xF;
            if (digit != 0 || started || shift == 0) {
                text += kHex[digit];
                started = true;
            }
        }
    }
    return text;
}

} // namespace cvl
