// What the window and the tray icon would show, as lines on standard error for the daemon:
// the tray tip, the status line and the note about an unanswered query. Each kind of line is
// written only when its text changes, so a reference that never answers says so once.
#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace cvl {

class CVL_Server;

class HeadlessStatus final : public QObject {
    Q_OBJECT
public:
    // `write` takes one line without its line end.
    HeadlessStatus(CVL_Server& server, std::function<void(const QString&)> write);

    // The tip field as a line: the blanks around it and the NUL that ends it dropped.
    [[nodiscard]] static QString tipLine(const QString& tipField);

private:
    void show(QString& last, const QString& text);

    std::function<void(const QString&)> write_;
    QString lastTip_;
    QString lastStatus_;
    QString lastUnanswered_;
};

} // namespace cvl
