// The reference-server file QBK_CVLS4.CVL: the hosts the server may set its clock from and the
// lines of the Servers box, read the way every earlier release has read it.
#pragma once

#include <array>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace cvl {

inline constexpr int maxServerHosts = 300;

// One line of the Servers box: the display text, whose last two characters are the region
// code, and the flag image shown beside it.
struct ServerEntry {
    std::string text;
    int image = 2;
};

struct ServerList {
    // The Servers box, in file order.
    std::vector<ServerEntry> entries;
    // Hosts by data line, 1..300; [0] is unused. A skipped line leaves its slot empty, so box
    // positions and host indexes part ways after it, as they always have.
    std::array<std::string, maxServerHosts + 1> ServerHosts;

    [[nodiscard]] int count() const { return static_cast<int>(entries.size()); }
};

// Lines are "host:::display text:::image:::spare" after five header lines, and the first
// empty line ends the list. A line with fewer than three ":::" gets neither a box entry nor a
// host but still takes its host index; an image that is not a number is 2, the world flag. The
// line that would be host 301 still reaches the box, then reading stops. Lines in UTF-8 stay
// as they are; others are read as Latin-1. nullopt when the file cannot be opened.
[[nodiscard]] std::optional<ServerList> readServerFile(const std::string& path);
// The same from a stream already open.
[[nodiscard]] ServerList readServerFile(std::istream& file);

} // namespace cvl
