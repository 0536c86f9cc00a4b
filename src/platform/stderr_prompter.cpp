#include "platform/stderr_prompter.h"

#include <cstdio>
#include <string>

namespace cvl {

void writeStderrLine(std::string_view text) {
    std::string line;
    line.reserve(text.size() + 1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            continue; // CR LF is one break
        }
        line += c == '\r' || c == '\n' ? ' ' : c;
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

bool StderrPrompter::askYesNo(PromptOwner, std::string_view caption, std::string_view text) {
    writeStderrLine(std::string(caption) + ": " + std::string(text) + " [answered No]");
    return false;
}

void StderrPrompter::inform(PromptOwner, std::string_view caption, std::string_view text) {
    writeStderrLine(std::string(caption) + ": " + std::string(text));
}

} // namespace cvl
