#include "core/leading_number.h"

#include <QString>
#include <cmath>
#include <limits>

namespace cvl {

namespace {

bool isIgnoredBlank(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n');
}

// Keeps the characters that can form a number, dropping blanks; stops at the first other one.
// Returns the number of characters of the compacted text that make up a valid number.
struct Scan {
    QString compact;
    qsizetype numberLength = 0;
    bool consumedAll = false;
};

Scan scanNumber(QStringView text) {
    Scan scan;
    scan.compact.reserve(text.size());
    for (const QChar c : text) {
        if (!isIgnoredBlank(c)) {
            scan.compact.append(c);
        }
    }
    const QString& s = scan.compact;
    qsizetype i = 0;
    if (i < s.size() && (s[i] == QLatin1Char('+') || s[i] == QLatin1Char('-'))) {
        ++i;
    }
    qsizetype digits = 0;
    while (i < s.size() && s[i].isDigit() && s[i].unicode() < 128) {
        ++i;
        ++digits;
    }
    if (i < s.size() && s[i] == QLatin1Char('.')) {
        ++i;
        while (i < s.size() && s[i].isDigit() && s[i].unicode() < 128) {
            ++i;
            ++digits;
        }
    }
    if (digits == 0) {
        return scan;
    }
    qsizetype end = i;
    if (i < s.size() && (s[i] == QLatin1Char('e') || s[i] == QLatin1Char('E') ||
                         s[i] == QLatin1Char('d') || s[i] == QLatin1Char('D'))) {
        qsizetype j = i + 1;
        if (j < s.size() && (s[j] == QLatin1Char('+') || s[j] == QLatin1Char('-'))) {
            ++j;
        }
        const qsizetype exponentStart = j;
        while (j < s.size() && s[j].isDigit() && s[j].unicode() < 128) {
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

double leadingNumber(QStringView text) {
    const Scan scan = scanNumber(text);
    if (scan.numberLength == 0) {
        return 0.0;
    }
    QString number = scan.compact.left(scan.numberLength);
    number.replace(QLatin1Char('d'), QLatin1Char('e'));
    number.replace(QLatin1Char('D'), QLatin1Char('e'));
    bool ok = false;
    const double value = number.toDouble(&ok);
    return ok ? value : 0.0;
}

std::optional<std::int16_t> roundToInt16(double value) {
    return roundTo<std::int16_t>(value);
}

std::optional<std::int32_t> roundToInt32(double value) {
    return roundTo<std::int32_t>(value);
}

bool isNumericText(QStringView text) {
    const Scan scan = scanNumber(text);
    return scan.numberLength > 0 && scan.consumedAll;
}

} // namespace cvl
