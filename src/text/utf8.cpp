#include "text/utf8.h"

namespace cvl::utf8 {

namespace {

[[nodiscard]] bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The length of the white-space character `text` starts with, 0 when it starts with none.
[[nodiscard]] std::size_t leadingSpace(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    const auto first = static_cast<unsigned char>(text[0]);
    if (first == ' ' || (first >= '\t' && first <= '\r')) {
        return 1;
    }
    for (const std::string_view space :
         {"\u0085", "\u00A0", "\u1680", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
        if (text.starts_with(space)) {
            return space.size();
        }
    }
    // U+2000 to U+200A
    if (text.size() >= 3 && text.starts_with("\xE2\x80") &&
        static_cast<unsigned char>(text[2]) <= 0x8A) {
        return 3;
    }
    return 0;
}

// The length of the white-space character `text` ends with, 0 when it ends with none.
[[nodiscard]] std::size_t trailingSpace(std::string_view text) {
    const std::string_view last = lastCharacters(text, 1);
    return leadingSpace(last) == last.size() ? last.size() : 0;
}

} // namespace

std::string_view trimmed(std::string_view text) {
    while (const std::size_t length = leadingSpace(text)) {
        text.remove_prefix(length);
    }
    while (const std::size_t length = trailingSpace(text)) {
        text.remove_suffix(length);
    }
    return text;
}

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (const char byte : text) {
        count += isContinuation(byte) ? 0 : 1;
    }
    return count;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isContinuation(text[i]) && characters++ == count) {
            return text.substr(0, i);
        }
    }
    return text;
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
    std::size_t characters = 0;
    for (std::size_t i = text.size(); i > 0; --i) {
        if (!isContinuation(text[i - 1]) && ++characters == count) {
            return text.substr(i - 1);
        }
    }
    return text;
}

std::string_view withoutLastCharacter(std::string_view text) {
    const std::string_view last = lastCharacters(text, 1);
    return text.substr(0, text.size() - last.size());
}

bool isValid(std::string_view bytes) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        std::size_t length = 0;
        char32_t value = 0;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
            value = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            value = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            value = lead & 0x07;
        } else {
            return false;
        }
        if (i + length > bytes.size()) {
            return false;
        }
        for (std::size_t k = 1; k < length; ++k) {
            if (!isContinuation(bytes[i + k])) {
                return false;
            }
            value = value << 6 | (static_cast<unsigned char>(bytes[i + k]) & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        const char32_t least = length == 3 ? 0x800 : length == 4 ? 0x10000 : 0x80;
        if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
            return false;
        }
        i += length;
    }
    return true;
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto c = static_cast<unsigned char>(byte);
        if (c < 0x80) {
            text += byte;
        } else {
            text += static_cast<char>(0xC0 | c >> 6);
            text += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return text;
}

} // namespace cvl::utf8
