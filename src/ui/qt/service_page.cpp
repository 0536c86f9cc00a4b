#include "ui/qt/service_page.h"
#include "ui/qt/qt_text.h"

#include "core/server_controller.h"
#include "core/service_listeners.h"
#include "core/service_table.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace cvl {

ServicePage::ServicePage(ServerController& server, ServiceId id, QWidget* parent)
    : QWidget(parent)
    , server_(server)
    , id_(id)
    , master_(new QCheckBox(
          tr("Enable the %1 service").arg(toQString(server.status().service(id).name)), this))
    , tcp_(new QCheckBox(tr("TCP"), this))
    , udp_(new QCheckBox(tr("UDP"), this))
    , port_(new QLineEdit(this))
    , tcpState_(new QLabel(this))
    , udpState_(new QLabel(this))
    , tcpCount_(new QLabel(this))
    , udpCount_(new QLabel(this))
    , lastClient_(new QLabel(this)) {
    const ServiceRow& row = serviceRow(id);
    setObjectName(QStringLiteral("page_") + QLatin1String(row.registryValue));
    master_->setObjectName(QLatin1String(row.masterBox));
    tcp_->setObjectName(QLatin1String(row.tcpBox));
    udp_->setObjectName(QLatin1String(row.udpBox));
    port_->setObjectName(QLatin1String(row.portBox));
    tcpState_->setObjectName(QStringLiteral("TcpState"));
    udpState_->setObjectName(QStringLiteral("UdpState"));
    port_->setMaximumWidth(port_->fontMetrics().horizontalAdvance(QStringLiteral("0000000000")));

    auto* title = new QLabel(QStringLiteral("<b>%1</b>").arg(QLatin1String(row.title)), this);
    auto* description = new QLabel(toQString(server_.status().service(id).description), this);
    description->setWordWrap(true);

    auto* settings = new QGroupBox(tr("Service"), this);
    auto* transports = new QHBoxLayout;
    transports->addWidget(tcp_);
    transports->addWidget(udp_);
    transports->addStretch();
    auto* form = new QFormLayout(settings);
    form->addRow(master_);
    form->addRow(tr("Transports:"), transports);
    form->addRow(tr("Port:"), port_);

    auto* state = new QGroupBox(tr("Activity"), this);
    auto* stateForm = new QFormLayout(state);
    stateForm->addRow(tr("TCP listener:"), tcpState_);
    stateForm->addRow(tr("UDP socket:"), udpState_);
    stateForm->addRow(tr("TCP requests:"), tcpCount_);
    stateForm->addRow(tr("UDP requests:"), udpCount_);
    stateForm->addRow(tr("Last client shown:"), lastClient_);
    if (id == ServiceId::Ntp) {
        ntpMs_ = new QLabel(this);
        ntpMs_->setObjectName(QStringLiteral("NTPms"));
        stateForm->addRow(tr("Last reply:"), ntpMs_);
    }

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(description);
    layout->addWidget(settings);
    layout->addWidget(state);
    layout->addStretch();

    ServiceListeners& listeners = server_.listeners();
    connect(master_, &QCheckBox::clicked, this,
            [&listeners, id](bool on) { listeners.masterClicked(id, on); });
    connect(tcp_, &QCheckBox::clicked, this,
            [&listeners, id](bool on) { listeners.tcpBoxClicked(id, on); });
    connect(udp_, &QCheckBox::clicked, this,
            [&listeners, id](bool on) { listeners.udpBoxClicked(id, on); });
    connect(port_, &QLineEdit::textEdited, this, [&listeners, id](const QString& text) {
        listeners.portTextChanged(id, text.toStdString());
    });
    connect(port_, &QLineEdit::returnPressed, this,
            [&listeners, id] { listeners.portKeyPressed(id, 13); });
    refresh();
}

void ServicePage::refresh() {
    const ServiceStatus service = server_.status().service(id_);
    const ServiceControls& controls = service.controls;
    master_->setChecked(controls.master);
    tcp_->setChecked(controls.tcp);
    udp_->setChecked(controls.udp);
    tcp_->setEnabled(controls.transportBoxesEnabled());
    udp_->setEnabled(controls.transportBoxesEnabled());
    if (port_->text() != toQString(controls.portText)) {
        port_->setText(toQString(controls.portText));
    }
    port_->setToolTip(toQString(controls.portToolTip));
    tcpState_->setText(toQString(service.tcpState));
    udpState_->setText(toQString(service.udpState));
    tcpCount_->setText(toQString(service.tcpRequests));
    udpCount_->setText(toQString(service.udpRequests));
    lastClient_->setText(toQString(service.lastClient));
    if (ntpMs_ != nullptr) {
        ntpMs_->setText(toQString(service.lastReply));
    }
}

} // namespace cvl
