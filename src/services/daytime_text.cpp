#include "services/daytime_text.h"

#include "timebase/calendar.h"

#include <QDate>
#include <QTime>

namespace cvl {

namespace {

[[nodiscard]] QString twoDigits(std::int64_t value) {
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

} // namespace

QString daytimeText(const LocalDateTime& local, const QString& zoneName, const QLocale& locale) {
    const QDate date(local.year, local.month, local.day);
    const QTime time(local.hour, local.minute, local.second);
    return locale.toString(date, u"dddd, MMMM dd, yyyy") + u' ' + time.toString(u"HH:mm:ss") +
           u'-' + zoneName;
}

QString GrabMJulian(std::int64_t utcSecondsSince1900, bool daylightTime) {
    // Floored division, so that a moment before 1900 still lands on the right day.
    std::int64_t days = utcSecondsSince1900 / secondsPerDay;
    std::int64_t secondOfDay = utcSecondsSince1900 % secondsPerDay;
    if (secondOfDay < 0) {
        secondOfDay += secondsPerDay;
        --days;
    }
    const CivilDate date = civilFromDays(days - secondsFrom1900To1970 / secondsPerDay);
    return QStringLiteral("\n%1 %2-%3-%4 %5:%6:%7 %8 0 0 50.0 UTC(CVLS) *")
        .arg(days + mjdOf1900, 5, 10, QLatin1Char('0'))
        .arg(twoDigits(date.year % 100), twoDigits(date.month), twoDigits(date.day),
             twoDigits(secondOfDay / 3600), twoDigits(secondOfDay / 60 % 60),
             twoDigits(secondOfDay % 60),
             daylightTime ? QStringLiteral("50") : QStringLiteral("00"));
}

} // namespace cvl
