#include "platform/local_format.h"
#include "platform/windows/wide_text.h"

#include <windows.h>

namespace cvl {

namespace {

SYSTEMTIME fields(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    return time;
}

std::string date(const SYSTEMTIME& time, DWORD flags, const wchar_t* format) {
    wchar_t text[128];
    const int length = GetDateFormatW(LOCALE_USER_DEFAULT, flags, &time, format, text, 128);
    return length > 0 ? utf8FromWide(std::wstring_view(text, static_cast<std::size_t>(length - 1)))
                      : std::string();
}

} // namespace

std::string shortDateText(int year, int month, int day) {
    return date(fields(year, month, day), DATE_SHORTDATE, nullptr);
}

std::string longTimeText(int hour, int minute, int second) {
    const SYSTEMTIME time = fields(2000, 1, 1, hour, minute, second);
    wchar_t text[128];
    const int length = GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &time, nullptr, text, 128);
    return length > 0 ? utf8FromWide(std::wstring_view(text, static_cast<std::size_t>(length - 1)))
                      : std::string();
}

std::string dayName(int year, int month, int day) {
    return date(fields(year, month, day), 0, L"dddd");
}

std::string monthName(int month) {
    return date(fields(2000, month, 1), 0, L"MMMM");
}

} // namespace cvl
