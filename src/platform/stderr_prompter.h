// The daemon's prompter: notices go to standard error, questions are answered No.
#pragma once

#include "platform/prompter.h"

namespace cvl {

class StderrPrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner owner, std::string_view caption,
                                std::string_view text) override;
    void inform(PromptOwner owner, std::string_view caption, std::string_view text) override;
};

// Writes one line to standard error, line breaks inside the text flattened.
void writeStderrLine(std::string_view text);

} // namespace cvl
