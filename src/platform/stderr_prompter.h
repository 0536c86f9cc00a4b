// The daemon's prompter: notices go to standard error, questions are answered No.
#pragma once

#include "platform/prompter.h"

namespace cvl {

class StderrPrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner owner, const QString& caption,
                                const QString& text) override;
    void inform(PromptOwner owner, const QString& caption, const QString& text) override;
};

// Writes one line to standard error, line breaks inside the text flattened.
void writeStderrLine(const QString& text);

} // namespace cvl
