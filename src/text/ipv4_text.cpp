#include "text/ipv4_text.h"

namespace cvl {

std::string ipv4Text(std::uint32_t address) {
    char text[16];
    char* out = text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned octet = (address >> shift) & 0xFFu;
        if (octet >= 100) {
            *out++ = static_cast<char>('0' + octet / 100);
        }
        if (octet >= 10) {
            *out++ = static_cast<char>('0' + octet / 10 % 10);
        }
        *out++ = static_cast<char>('0' + octet % 10);
        if (shift > 0) {
            *out++ = '.';
        }
    }
    return std::string(text, out);
}

} // namespace cvl
