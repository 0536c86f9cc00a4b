#include "platform/windows/event_log.h"

#include <windows.h>

namespace cvl {

namespace {

// The ids of packaging/windows/event_messages.mc: severity in the top two bits, the message
// number below ("%1": the text given).
constexpr DWORD kInformation = 0x40000001;
constexpr DWORD kWarning = 0x80000002;
constexpr DWORD kError = 0xC0000003;

} // namespace

EventLog::EventLog()
    : source_(RegisterEventSourceA(nullptr, kEventSource)) {}

EventLog::~EventLog() {
    if (source_ != nullptr) {
        DeregisterEventSource(static_cast<HANDLE>(source_));
    }
}

void EventLog::write(EventKind kind, const std::string& text) {
    if (source_ == nullptr) {
        return;
    }
    WORD type = EVENTLOG_INFORMATION_TYPE;
    DWORD id = kInformation;
    if (kind == EventKind::Warning) {
        type = EVENTLOG_WARNING_TYPE;
        id = kWarning;
    } else if (kind == EventKind::Error) {
        type = EVENTLOG_ERROR_TYPE;
        id = kError;
    }
    const char* strings[] = {text.c_str()};
    ReportEventA(static_cast<HANDLE>(source_), type, 0, id, nullptr, 1, 0, strings, nullptr);
}

} // namespace cvl
