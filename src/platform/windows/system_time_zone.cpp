#include "platform/windows/system_time_zone.h"
#include "platform/windows/wide_text.h"

#include <cwchar>
#include <windows.h>

namespace cvl {

namespace {

std::string nameText(const WCHAR (&name)[32]) {
    return utf8FromWide(std::wstring_view(name, wcsnlen(name, 32)));
}

} // namespace

const TimeZoneReading& SystemTimeZone::GetTimeZoneInformation() const {
    const unsigned long long second = GetTickCount64() / 1000;
    if (second == readAtSecond_) {
        return reading_;
    }
    readAtSecond_ = second;
    TIME_ZONE_INFORMATION zone{};
    reading_.result = ::GetTimeZoneInformation(&zone);
    reading_.info.Bias = zone.Bias;
    reading_.info.StandardName = nameText(zone.StandardName);
    reading_.info.StandardBias = zone.StandardBias;
    reading_.info.DaylightName = nameText(zone.DaylightName);
    reading_.info.DaylightBias = zone.DaylightBias;
    return reading_;
}

} // namespace cvl
