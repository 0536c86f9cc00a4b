#include "platform/ini_file.h"

#include <vector>

namespace cvl::ini {

namespace {

constexpr std::string_view kGeneral = "General";

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

int hexDigit(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Up to `most` hex digits from `text` at `i`; the value, with `i` past them.
char32_t readHex(std::string_view text, std::size_t& i, std::size_t most) {
    char32_t value = 0;
    for (std::size_t n = 0; n < most && i < text.size() && hexDigit(text[i]) >= 0; ++n, ++i) {
        value = value * 16 + static_cast<char32_t>(hexDigit(text[i]));
    }
    return value;
}

// Section and key names: %XX and %UXXXX stand for characters, "\" separates parts.
std::string unescapedKey(std::string_view text) {
    std::string key;
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (c == '\\') {
            key += '/';
            ++i;
        } else if (c == '%' && i + 6 <= text.size() && text[i + 1] == 'U') {
            i += 2;
            char32_t code = readHex(text, i, 4);
            // A character beyond the first plane comes as two halves.
            if (code >= 0xD800 && code < 0xDC00 && i + 6 <= text.size() && text[i] == '%' &&
                text[i + 1] == 'U') {
                std::size_t next = i + 2;
                const char32_t low = readHex(text, next, 4);
                if (low >= 0xDC00 && low < 0xE000) {
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    i = next;
                }
            }
            appendUtf8(key, code);
        } else if (c == '%' && i + 3 <= text.size() && hexDigit(text[i + 1]) >= 0 &&
                   hexDigit(text[i + 2]) >= 0) {
            ++i;
            appendUtf8(key, readHex(text, i, 2));
        } else {
            key += c;
            ++i;
        }
    }
    return key;
}

// Letters, digits and "-_." stand as they are; "/" becomes "\"; the rest is %XX or %UXXXX.
std::string escapedKey(std::string_view key) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < key.size();) {
        const auto c = static_cast<unsigned char>(key[i]);
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
            c == '-' || c == '_' || c == '.') {
            text += static_cast<char>(c);
            ++i;
            continue;
        }
        if (c == '/') {
            text += '\\';
            ++i;
            continue;
        }
        // One character, decoded from UTF-8 (a stray byte counts as itself).
        char32_t code = c;
        std::size_t length = 1;
        if (c >= 0xC0) {
            length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
            code = c & (0x3F >> (length - 1));
            for (std::size_t k = 1; k < length; ++k) {
                if (i + k >= key.size() ||
                    (static_cast<unsigned char>(key[i + k]) & 0xC0) != 0x80) {
                    length = 1;
                    code = c;
                    break;
                }
                code = code << 6 | (static_cast<unsigned char>(key[i + k]) & 0x3F);
            }
        }
        i += length;
        if (code < 0x100) {
            text += '%';
            text += kHex[code >> 4];
            text += kHex[code & 0xF];
        } else {
            // Beyond the first plane as two UTF-16 halves, the way it was always written.
            const auto unit = [&](char32_t u) {
                text += "%U";
                for (int shift = 12; shift >= 0; shift -= 4) {
                    text += kHex[(u >> shift) & 0xF];
                }
            };
            if (code >= 0x10000) {
                unit(0xD800 + ((code - 0x10000) >> 10));
                unit(0xDC00 + ((code - 0x10000) & 0x3FF));
            } else {
                unit(code);
            }
        }
    }
    return text;
}

// A value: quoted parts, escapes, "," between list items and ";" before a comment outside
// quotes. The items come back joined by ", ".
std::string unescapedValue(std::string_view text) {
    std::vector<std::string> items(1);
    bool quoted = false;
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) {
        ++i;
    }
    // Where unquoted text ends, so that trailing blanks are not part of it.
    std::size_t keep = 0;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        std::string& item = items.back();
        if (c == '"') {
            quoted = !quoted;
            keep = item.size();
            continue;
        }
        if (!quoted && c == ';') {
            break;
        }
        if (!quoted && c == ',') {
            item.resize(keep);
            items.emplace_back();
            keep = 0;
            ++i;
            while (i < text.size() && isBlank(text[i])) {
                ++i;
            }
            --i;
            continue;
        }
        if (c == '\\' && i + 1 < text.size()) {
            const char e = text[++i];
            switch (e) {
            case 'a':
                item += '\a';
                break;
            case 'b':
                item += '\b';
                break;
            case 'f':
                item += '\f';
                break;
            case 'n':
                item += '\n';
                break;
            case 'r':
                item += '\r';
                break;
            case 't':
                item += '\t';
                break;
            case 'v':
                item += '\v';
                break;
            case 'x': {
                ++i;
                appendUtf8(item, readHex(text, i, 4));
                --i;
                break;
            }
            case '0':
            case '1':
            case '2':
            case '3':
            case '4':
            case '5':
            case '6':
            case '7': {
                char32_t value = 0;
                for (int n = 0; n < 3 && i < text.size() && text[i] >= '0' && text[i] <= '7';
                     ++n, ++i) {
                    value = value * 8 + static_cast<char32_t>(text[i] - '0');
                }
                --i;
                appendUtf8(item, value);
                break;
            }
            default:
                item += e;
                break; // \\ \" \' \? and anything else: the character
            }
            keep = item.size();
            continue;
        }
        item += c;
        if (quoted || !isBlank(c)) {
            keep = item.size();
        }
    }
    items.back().resize(std::min(keep, items.back().size()));
    std::string value;
    for (std::size_t k = 0; k < items.size(); ++k) {
        value += (k == 0 ? "" : ", ") + items[k];
    }
    // Values of other types, written as "@Type(...)", quoted or not: their text is what a
    // string read gives.
    if (items.size() == 1) {
        if (value.starts_with("@@")) {
            return value.substr(1);
        }
        if (value.starts_with("@ByteArray(") && value.ends_with(')')) {
            return value.substr(11, value.size() - 12);
        }
    }
    return value;
}

std::string escapedValue(std::string_view value) {
    bool needsQuotes = !value.empty() && (isBlank(value.front()) || isBlank(value.back()));
    // A text starting with "@" would read as a value of another type.
    std::string text = value.starts_with('@') ? "@" : "";
    for (const char c : value) {
        switch (c) {
        case ';':
        case ',':
        case '=':
            needsQuotes = true;
            text += c;
            break;
        case '\a':
            text += "\\a";
            break;
        case '\b':
            text += "\\b";
            break;
        case '\f':
            text += "\\f";
            break;
        case '\n':
            text += "\\n";
            break;
        case '\r':
            text += "\\r";
            break;
        case '\t':
            text += "\\t";
            break;
        case '\v':
            text += "\\v";
            break;
        case '"':
            text += "\\\"";
            break;
        case '\\':
            text += "\\\\";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
                // Three octal digits, so that a digit after it is not taken for part of it.
                const auto code = static_cast<unsigned char>(c);
                text += '\\';
                text += static_cast<char>('0' + (code >> 6));
                text += static_cast<char>('0' + (code >> 3 & 7));
                text += static_cast<char>('0' + (code & 7));
            } else {
                text += c; // UTF-8 stands as it is
            }
        }
    }
    return needsQuotes ? '"' + text + '"' : text;
}

} // namespace

std::string normalizedKey(std::string_view key) {
    std::string out;
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (key[i] == '/' && (out.empty() || out.back() == '/')) {
            continue;
        }
        out += key[i];
    }
    if (!out.empty() && out.back() == '/') {
        out.pop_back();
    }
    return out;
}

std::map<std::string, std::string> parse(std::string_view text) {
    std::map<std::string, std::string> values;
    std::string section;
    // The next line, without its end (CR LF, LF or CR); `start` moves past it.
    const auto nextLine = [&text](std::size_t& start) {
        std::size_t end = text.find_first_of("\r\n", start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        const std::string_view line = text.substr(start, end - start);
        start = end + (text.substr(end, 2) == "\r\n" ? 2 : 1);
        return line;
    };
    for (std::size_t start = 0; start < text.size();) {
        std::string_view line = nextLine(start);
        while (!line.empty() && isBlank(line.front())) {
            line.remove_prefix(1);
        }
        if (line.empty() || line.front() == ';' || line.front() == '#') {
            continue;
        }
        if (line.front() == '[') {
            const std::size_t close = line.find(']');
            const std::string name = unescapedKey(line.substr(
                1, close == std::string_view::npos ? std::string_view::npos : close - 1));
            section = name == kGeneral ? std::string() : name == "%General" ? "General" : name;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        std::string_view name = line.substr(0, equals);
        while (!name.empty() && isBlank(name.back())) {
            name.remove_suffix(1);
        }
        const std::string key =
            normalizedKey((section.empty() ? "" : section + '/') + unescapedKey(name));
        if (!key.empty()) {
            values[key] = unescapedValue(line.substr(equals + 1));
        }
    }
    return values;
}

std::string format(const std::map<std::string, std::string>& values) {
    // Section by section; keys without a section go to [General], written first.
    std::map<std::string, std::string> sections;
    std::string general;
    for (const auto& [key, value] : values) {
        const std::size_t slash = key.find('/');
        const std::string line =
            escapedKey(slash == std::string::npos ? key : key.substr(slash + 1)) + '=' +
            escapedValue(value) + '\n';
        if (slash == std::string::npos) {
            general += line;
        } else {
            sections[key.substr(0, slash)] += line;
        }
    }
    std::string text;
    if (!general.empty()) {
        text += "[General]\n" + general;
    }
    for (const auto& [name, lines] : sections) {
        text += (text.empty() ? "[" : "\n[") + (name == kGeneral ? "%General" : escapedKey(name)) +
                "]\n" + lines;
    }
    return text;
}

} // namespace cvl::ini
