// CVL_ConfigSVR, the advanced configuration: the region the server works in, start with the
// system, open minimised, request logging, the system's date-and-time settings and the
// update check. Every change takes effect at once in the controller's settings; there is no
// Cancel. Loading the dialog changes no setting.
#pragma once

#include <QDialog>

class QAbstractButton;
class QCheckBox;
class QComboBox;

namespace cvl {

class CVL_Server;

// The region list, in its order; the first two characters of each entry are its code.
[[nodiscard]] const QStringList& regionEntries();

class CVL_ConfigSVR final : public QDialog {
    Q_OBJECT
public:
    CVL_ConfigSVR(CVL_Server& server, QWidget* mainWindow);

private:
    void Form_Load(QWidget* mainWindow);

    CVL_Server& server_;
    QComboBox* regions_;
    QCheckBox* runAtStart_;
    QCheckBox* openMinimized_;
    QCheckBox* logging_;
    QAbstractButton* selTimeZone_;
    QAbstractButton* checkUpdate_;
    QAbstractButton* ok_;
};

} // namespace cvl
