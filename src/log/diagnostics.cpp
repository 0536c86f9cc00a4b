#include "log/diagnostics.h"

namespace cvl {

std::string_view severityName(Severity severity) {
    switch (severity) {
    case Severity::Information:
        return "information";
    case Severity::Warning:
        return "warning";
    case Severity::Error:
        return "error";
    }
    return "error";
}

void Diagnostics::report(const std::string& topic, Severity severity, const std::string& text) {
    auto [said, fresh] = last_.try_emplace(topic, text);
    if (!fresh) {
        if (said->second == text) {
            return;
        }
        said->second = text;
    }
    if (sink_) {
        sink_(severity, text);
    }
}

void Diagnostics::clear(const std::string& topic) {
    if (const auto said = last_.find(topic); said != last_.end()) {
        last_.erase(said);
    }
}

} // namespace cvl
