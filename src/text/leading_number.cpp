#include "text/leading_number.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace cvl {

namespace {

bool isIgnoredBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The text without blanks, and how much of it makes up a valid number.
struct Scan {
    std::string compact;
    std::size_t numberLength = 0;
    bool consumedAll = false;
};

Scan scanNumber(std::string_view text) {
    Scan scan;
    scan.compact.reserve(text.size());
    for (const char c : text) {
        if (!isIgnoredBlank(c)) {
            scan.compact += c;
        }
    }
    const std::string& s = scan.compact;
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
        ++i;
    }
    std::size_t digits = 0;
    while (i < s.size() && isDigit(s[i])) {
        ++i;
        ++digits;
    }
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && isDigit(s[i])) {
            ++i;
            ++digits;
        }
    }
    if (digits == 0) {
        return scan;
    }
    std::size_t end = i;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
        std::size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) {
            ++j;
        }
        const std::size_t exponentStart = j;
        while (j < s.size() && isDigit(s[j])) {
            ++j;
        }
        if (j > exponentStart) {
            end = j;
        }
    }
    scan.numberLength = end;
    scan.consumedAll = end == s.size();
    return scan;
}

template <typename Int> std::optional<Int> roundTo(double value) {
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    const double rounded = std::nearbyint(value); // default mode: halves to even
    if (rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
        rounded > static_cast<double>(std::numeric_limits<Int>::max())) {
        return std::nullopt;
    }
    return static_cast<Int>(rounded);
}

} // namespace

double leadingNumber(std::string_view text) {
    const Scan scan = scanNumber(text);
    if (scan.numberLength == 0) {
        return 0.0;
    }
    std::string number = scan.compact.substr(0, scan.numberLength);
    for (char& c : number) {
        if (c == 'd' || c == 'D') {
            c = 'e';
        }
    }
    // from_chars takes no "+" sign; the number is the same without it.
    const char* first = number.data() + (number.front() == '+' ? 1 : 0);
    double value = 0.0;
    const auto [end, error] = std::from_chars(first, number.data() + number.size(), value);
    // A number beyond a double (overflow or underflow) counts as none.
    return error == std::errc() ? value : 0.0;
}

std::optional<std::int16_t> roundToInt16(double value) {
    return roundTo<std::int16_t>(value);
}

std::optional<std::int32_t> roundToInt32(double value) {
    return roundTo<std::int32_t>(value);
}

bool isNumericText(std::string_view text) {
    const Scan scan = scanNumber(text);
    return scan.numberLength > 0 && scan.consumedAll;
}

} // namespace cvl
