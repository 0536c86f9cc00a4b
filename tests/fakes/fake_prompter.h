// Records every question and notice; answers questions as the test says (Yes by default).
#pragma once

#include "platform/prompter.h"

#include <QStringList>

namespace cvl::test {

class FakePrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner, const QString& caption, const QString& text) override {
        questions << caption + QLatin1Char('|') + text;
        return answer;
    }
    void inform(PromptOwner, const QString& caption, const QString& text) override {
        notices << caption + QLatin1Char('|') + text;
    }

    bool answer = true;
    QStringList questions;
    QStringList notices;
};

} // namespace cvl::test
