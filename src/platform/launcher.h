// Starts other programs (the updater, the desktop's date-and-time settings) detached.
#pragma once

#include <QString>
#include <QStringList>

namespace cvl {

class Launcher {
public:
    virtual ~Launcher() = default;
    // False when the program could not be started; callers do not report it.
    virtual bool start(const QString& program, const QStringList& arguments) = 0;
    // Opens the date-and-time settings of the desktop, if it has any.
    virtual bool openDateTimeSettings() = 0;
};

} // namespace cvl
