// One service's details: its enable boxes and port box (named as the controller's table names
// them), whether its sockets are open, its request counts. Clicks and keys go straight to the
// controller; the page only mirrors what the controller holds.
#pragma once

#include "core/service_table.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace cvl {

class ServerController;

class ServicePage final : public QWidget {
    Q_OBJECT
public:
    ServicePage(ServerController& server, ServiceId id, QWidget* parent = nullptr);

    [[nodiscard]] ServiceId service() const { return id_; }
    void refresh();

private:
    ServerController& server_;
    ServiceId id_;
    QCheckBox* master_;
    QCheckBox* tcp_;
    QCheckBox* udp_;
    QLineEdit* port_;
    QLabel* tcpState_;
    QLabel* udpState_;
    QLabel* tcpCount_;
    QLabel* udpCount_;
    QLabel* lastClient_;
    QLabel* ntpMs_ = nullptr; // the NTP service's page only
};

} // namespace cvl
