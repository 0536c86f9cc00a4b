// CVL_ConfigSVR, the advanced configuration: the region the server works in, start with the
// system, open minimised, request logging, the system's date-and-time settings and the
// update check. Every change takes effect at once in the controller's settings; there is no
// Cancel. Loading the dialog changes no setting.
#pragma once

#include "core/status_model.h"

#include <QDialog>

class QAbstractButton;
class QCheckBox;
class QComboBox;

namespace cvl {

class ServerController;

// The region list, in its order; the first two characters of each entry are its code.
[[nodiscard]] const QStringList& regionEntries();

class CVL_ConfigSVR final : public QDialog, private StatusObserver {
    Q_OBJECT
public:
    CVL_ConfigSVR(ServerController& server, QWidget* mainWindow);
    ~CVL_ConfigSVR() override;

private:
    void statusChanged(StatusChange change) override;
    void Form_Load(QWidget* mainWindow);

    ServerController& server_;
    QComboBox* regions_;
    QCheckBox* runAtStart_;
    QCheckBox* openMinimized_;
    QCheckBox* logging_;
    QAbstractButton* selTimeZone_;
    QAbstractButton* checkUpdate_;
    QAbstractButton* ok_;
};

} // namespace cvl
