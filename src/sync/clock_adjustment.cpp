#include "sync/clock_adjustment.h"

#include "core/leading_number.h"
#include "timebase/calendar.h"

#include <QDate>
#include <QLocale>
#include <cmath>
#include <limits>

namespace cvl {

namespace {

// 1899-12-30, day 0 of the day numbers, is two days before 1900-01-01.
constexpr std::int64_t secondsFrom18991230To1900 = 2 * secondsPerDay;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    const std::int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

std::uint16_t field(std::int64_t value) {
    return value >= 0 && value <= std::numeric_limits<std::uint16_t>::max()
               ? static_cast<std::uint16_t>(value)
               : std::numeric_limits<std::uint16_t>::max();
}

} // namespace

double GoMilli(const std::uint8_t* bytes) {
    double seconds = 0;
    double fraction = 0;
    for (int i = 0; i < 4; ++i) {
        seconds = seconds * 256 + bytes[i];
        fraction = fraction * 256 + bytes[i + 4];
    }
    return seconds * 1000 + fraction * 1000 / 4294967296.0;
}

QString decimalText(double value) {
    if (!std::isfinite(value)) {
        return QString::number(value);
    }
    if (value == 0) {
        return QStringLiteral("0");
    }
    // "-d.dddddddddddddde+XX": the 15 digits, then placed by the exponent ourselves, since
    // the 'g' format turns to an exponent below 0.0001.
    const QString scientific = QString::number(std::fabs(value), 'e', 14);
    const qsizetype e = scientific.indexOf(u'e');
    QString digits = scientific.left(e).remove(u'.');
    const int exponent = scientific.mid(e + 1).toInt();
    while (digits.endsWith(u'0')) {
        digits.chop(1);
    }
    QString text;
    if (exponent < 0) {
        text = QStringLiteral("0.") + QString(-exponent - 1, u'0') + digits;
    } else if (digits.size() <= exponent + 1) {
        text = digits + QString(exponent + 1 - digits.size(), u'0');
    } else {
        text = digits.left(exponent + 1) + u'.' + digits.mid(exponent + 1);
    }
    return value < 0 ? u'-' + text : text;
}

int millisecondsPart(double ms) {
    const QString text = decimalText(ms);
    const QStringView tail =
        text.contains(u'.') ? QStringView(text).right(6) : QStringView(text).right(3);
    return roundToInt32(leadingNumber(tail)).value_or(0);
}

ClockSetting clockSettingFor(double remoteMs, std::int32_t roundTripMs) {
    ClockSetting setting;
    setting.dayNumber = (remoteMs / 1000 + 172800) / 86400;
    setting.millisecondsPart = millisecondsPart(remoteMs);

    const double wholeSeconds = std::nearbyint(remoteMs / 1000);
    if (!(std::fabs(wholeSeconds) < 1e15)) {
        return setting; // not a time at all; a year 0 the setter refuses
    }
    // In whole seconds, so that no fraction of a day can drift into the fields.
    const auto seconds = static_cast<std::int64_t>(wholeSeconds) + secondsFrom18991230To1900;
    const std::int64_t day = floorDiv(seconds, secondsPerDay);
    const std::int64_t secondOfDay = seconds - day * secondsPerDay;
    const CivilDate date = civilFromDays(day + daysFromCivil(1899, 12, 30));
    setting.utc.year = field(date.year);
    setting.utc.month = field(date.month);
    setting.utc.day = field(date.day);
    setting.utc.hour = field(secondOfDay / 3600);
    setting.utc.minute = field(secondOfDay / 60 % 60);
    setting.utc.second = field(secondOfDay % 60);
    const double milliseconds = std::nearbyint(roundTripMs / 2.0 + setting.millisecondsPart);
    setting.utc.milliseconds = field(static_cast<std::int64_t>(milliseconds));
    return setting;
}

QString adjustedMessage(double lastOffsetMs) {
    return QStringLiteral("Adjusted by: ") + decimalText(lastOffsetMs) +
           QStringLiteral(" ms.  CVL Server is Synchronized.");
}

QString tipText(const QString& message) {
    constexpr qsizetype fieldLength = 64;
    return (message + QChar(0)).leftJustified(fieldLength, u' ', true);
}

QString visibleTip(const QString& field) {
    const qsizetype end = field.indexOf(QChar(0));
    return end < 0 ? field : field.left(end);
}

QString syncToolTip(const ClockSetting& setting, const QString& message) {
    // The rounded fields rather than the day number's own date, so that the last half second
    // of a day shows the next date along with 0:0:0.
    const SystemTime& t = setting.utc;
    const QString date =
        QLocale::system().toString(QDate(t.year, t.month, t.day), QLocale::ShortFormat);
    return date + u' ' + QString::number(t.hour) + u':' + QString::number(t.minute) + u':' +
           QString::number(t.second) + u'.' + QString::number(setting.millisecondsPart) +
           QStringLiteral(" | ") + message;
}

} // namespace cvl
