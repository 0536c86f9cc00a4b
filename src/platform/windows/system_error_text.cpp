#include "platform/windows/system_error_text.h"

#include <windows.h>

namespace cvl {

std::string systemErrorText(unsigned long code) {
    char* text = nullptr;
    const DWORD length = ::FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    std::string words = length > 0 ? std::string(text, length) : "error " + std::to_string(code);
    if (text != nullptr) {
        ::LocalFree(text);
    }
    // The system ends its sentences with a full stop and a line end; a report has its own.
    while (!words.empty() && (words.back() == '\n' || words.back() == '\r' || words.back() == '.' ||
                              words.back() == ' ')) {
        words.pop_back();
    }
    return words;
}

} // namespace cvl
