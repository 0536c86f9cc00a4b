#include "ui/message_box_prompter.h"

#include <QMessageBox>
#include <utility>

namespace cvl {

MessageBoxPrompter::MessageBoxPrompter(OwnerLookup owners)
    : owners_(std::move(owners)) {}

bool MessageBoxPrompter::askYesNo(PromptOwner owner, const QString& caption, const QString& text) {
    QMessageBox box(QMessageBox::Information, caption, text, QMessageBox::Yes | QMessageBox::No,
                    owners_ ? owners_(owner) : nullptr);
    return box.exec() == QMessageBox::Yes;
}

void MessageBoxPrompter::inform(PromptOwner owner, const QString& caption, const QString& text) {
    QMessageBox box(QMessageBox::Warning, caption, text, QMessageBox::Ok,
                    owners_ ? owners_(owner) : nullptr);
    box.exec();
}

} // namespace cvl
