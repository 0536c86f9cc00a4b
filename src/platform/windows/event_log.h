// The Windows Event Log, source "Chronvale Server": where the service, which has no console,
// and the program without a window say their failures, and the service its start, first
// synchronisation and stop. The installer registers the source with the message table built
// into the program; an unregistered source still records each event, with its text.
#pragma once

#include <string>

namespace cvl {

inline constexpr char kEventSource[] = "Chronvale Server";

enum class EventKind { Information, Warning, Error };

class EventLog final {
public:
    EventLog();
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    void write(EventKind kind, const std::string& text);

private:
    void* source_ = nullptr;
};

} // namespace cvl
