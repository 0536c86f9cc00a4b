// The text formats of the saved settings: a service value "YES:YES:NO:519" (enabled, TCP,
// UDP, port) and the general value "YES:59:Minutes/s:NA:36" (random server choice, interval,
// interval unit, region, first byte of NTP replies). Comparisons with "YES" are exact.
#pragma once

#include <QString>
#include <cstdint>

namespace cvl {

inline const QString kSettingsKey = QStringLiteral("Software\\Chronvale Server");
inline const QString kGeneralValue = QStringLiteral("Settings");
inline const QString kGeneralDefault = QStringLiteral("YES:59:Minutes/s:NA:36");
inline const QString kOpenMinimizedValue = QStringLiteral("OpenMinimized");
inline const QString kEnableLoggingValue = QStringLiteral("EnableLogging");
inline const QString kUseJulianValue = QStringLiteral("UseJulian");
inline const QString kStrictSyncValue = QStringLiteral("StrictSync");

inline constexpr std::int16_t kDefaultNtpFirstByte = 36;

struct ServiceSetting {
    bool wellFormed = false; // four fields or more; otherwise the service stays off
    bool enabled = false;
    bool tcp = false;
    bool udp = false;
    QString port;
};

[[nodiscard]] ServiceSetting parseServiceSetting(const QString& text);
[[nodiscard]] QString formatServiceSetting(bool enabled, bool tcp, bool udp, const QString& port);

struct GeneralSetting {
    bool randomCheck = false;
    QString syncEvery;
    QString syncUnit;
    QString regionCode;
    std::int16_t ntpFirstByte = kDefaultNtpFirstByte;
};

[[nodiscard]] GeneralSetting parseGeneralSetting(const QString& text);
[[nodiscard]] QString formatGeneralSetting(const GeneralSetting& setting);

[[nodiscard]] inline QString yesNo(bool value) {
    return value ? QStringLiteral("YES") : QStringLiteral("NO");
}
[[nodiscard]] inline bool isYes(const QString& text) {
    return text == QLatin1String("YES");
}

} // namespace cvl
