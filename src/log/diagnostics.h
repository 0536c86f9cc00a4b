// The diagnostics channel: failures the windows leave unsaid (a port that cannot be opened, a
// clock the server may not set, settings or log files it cannot write), said once with the
// operating system's own words, and again only when they change. Separate from the status
// line, which shows exactly what it always has. Headless it goes to standard error (so into
// the journal under systemd); a Windows service writes it to the Event Log.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace cvl {

enum class Severity { Information, Warning, Error };

// "information", "warning", "error": how a line of the channel starts.
[[nodiscard]] std::string_view severityName(Severity severity);

class Diagnostics final {
public:
    using Sink = std::function<void(Severity, const std::string&)>;

    // Where reports go; none until a face sets one, and they are then dropped.
    void setSink(Sink sink) { sink_ = std::move(sink); }

    // Reports `text` about `topic` (a port, the clock, the settings file...) unless that topic's
    // last report said the same.
    void report(const std::string& topic, Severity severity, const std::string& text);
    // The topic is fine again: its next failure is news even if it reads the same.
    void clear(const std::string& topic);

private:
    Sink sink_;
    std::map<std::string, std::string, std::less<>> last_;
};

} // namespace cvl
