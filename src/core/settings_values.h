// The text formats of the saved settings: a service value "YES:YES:NO:519" (enabled, TCP,
// UDP, port) and the general value "YES:59:Minutes/s:NA:36" (random server choice, interval,
// interval unit, region, first byte of NTP replies). Comparisons with "YES" are exact.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace cvl {

inline const std::string kGeneralValue = "Settings";
inline const std::string kGeneralDefault = "YES:59:Minutes/s:NA:36";
inline const std::string kOpenMinimizedValue = "OpenMinimized";
inline const std::string kEnableLoggingValue = "EnableLogging";
inline const std::string kUseJulianValue = "UseJulian";
inline const std::string kStrictSyncValue = "StrictSync";

inline constexpr std::int16_t kDefaultNtpFirstByte = 36;

struct ServiceSetting {
    bool wellFormed = false; // four fields or more; otherwise the service stays off
    bool enabled = false;
    bool tcp = false;
    bool udp = false;
    std::string port;
};

[[nodiscard]] ServiceSetting parseServiceSetting(std::string_view text);
[[nodiscard]] std::string formatServiceSetting(bool enabled, bool tcp, bool udp,
                                               std::string_view port);

struct GeneralSetting {
    bool randomCheck = false;
    std::string syncEvery;
    std::string syncUnit;
    std::string regionCode;
    std::int16_t ntpFirstByte = kDefaultNtpFirstByte;
};

[[nodiscard]] GeneralSetting parseGeneralSetting(std::string_view text);
[[nodiscard]] std::string formatGeneralSetting(const GeneralSetting& setting);

[[nodiscard]] inline std::string yesNo(bool value) {
    return value ? "YES" : "NO";
}
[[nodiscard]] inline bool isYes(std::string_view text) {
    return text == "YES";
}

} // namespace cvl
