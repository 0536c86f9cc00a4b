// Questions and notices for the operator. The window shows message boxes; the daemon writes
// the text to standard error and answers every question No.
#pragma once

#include <QString>

namespace cvl {

// Which window owns a message; only matters where there are windows.
enum class PromptOwner { MainWindow, ConfigDialog };

class Prompter {
public:
    virtual ~Prompter() = default;
    [[nodiscard]] virtual bool askYesNo(PromptOwner owner, const QString& caption,
                                        const QString& text) = 0;
    virtual void inform(PromptOwner owner, const QString& caption, const QString& text) = 0;
};

} // namespace cvl
