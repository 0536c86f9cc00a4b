// Questions and notices for the operator. The window shows message boxes; the daemon writes
// the text to standard error and answers every question No.
#pragma once

#include <string_view>

namespace cvl {

// Which window owns a message; only matters where there are windows.
enum class PromptOwner { MainWindow, ConfigDialog };

class Prompter {
public:
    virtual ~Prompter() = default;
    [[nodiscard]] virtual bool askYesNo(PromptOwner owner, std::string_view caption,
                                        std::string_view text) = 0;
    virtual void inform(PromptOwner owner, std::string_view caption, std::string_view text) = 0;
};

} // namespace cvl
