// The window's prompter: questions and notices as message boxes, owned by the window named.
#pragma once

#include "platform/prompter.h"

#include <functional>

class QWidget;

namespace cvl {

class MessageBoxPrompter final : public Prompter {
public:
    // Finds the window that owns a message (it may not exist yet, or any more).
    using OwnerLookup = std::function<QWidget*(PromptOwner)>;
    explicit MessageBoxPrompter(OwnerLookup owners);

    [[nodiscard]] bool askYesNo(PromptOwner owner, const QString& caption,
                                const QString& text) override;
    void inform(PromptOwner owner, const QString& caption, const QString& text) override;

private:
    OwnerLookup owners_;
};

} // namespace cvl
