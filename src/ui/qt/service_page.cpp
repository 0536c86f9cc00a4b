#include "ui/qt/service_page.h"
#include "ui/qt/qt_text.h"

#include "core/cvl_server.h"
#include "log/request_log.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace cvl {

QString serviceName(ServiceId id) {
    switch (id) {
    case ServiceId::Daytime:
        return QObject::tr("Daytime");
    case ServiceId::Time:
        return QObject::tr("Time");
    case ServiceId::Ntp:
        return QObject::tr("NTP / SNTP");
    case ServiceId::Unix:
        return QObject::tr("Unix time");
    case ServiceId::Client:
        return QObject::tr("Client protocol");
    }
    return {};
}

QString serviceDescription(ServiceId id) {
    switch (id) {
    case ServiceId::Daytime:
        return QObject::tr("Answers with one line of local date and time and the zone's name.");
    case ServiceId::Time:
        return QObject::tr("Answers with four bytes: UTC seconds since 1900.");
    case ServiceId::Ntp:
        return QObject::tr(
            "Answers 48-byte NTP and SNTP requests; its UDP socket also carries this "
            "server's own queries to its reference server.");
    case ServiceId::Unix:
        return QObject::tr("Answers with four bytes: UTC seconds since 1970.");
    case ServiceId::Client:
        return QObject::tr("Accepts connections of the Chronvale client protocol.");
    }
    return {};
}

QString waitingForSyncText() {
    return QObject::tr("waiting for the first synchronisation");
}

ServicePage::ServicePage(CVL_Server& server, ServiceId id, QWidget* parent)
    : QWidget(parent)
    , server_(server)
    , id_(id)
    , master_(new QCheckBox(tr("Enable the %1 service").arg(serviceName(id)), this))
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
    auto* description = new QLabel(serviceDescription(id), this);
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
    const ServiceListeners& listeners = server_.listeners();
    const ServiceControls& controls = listeners.controls(id_);
    master_->setChecked(controls.master);
    tcp_->setChecked(controls.tcp);
    udp_->setChecked(controls.udp);
    tcp_->setEnabled(controls.transportBoxesEnabled());
    udp_->setEnabled(controls.transportBoxesEnabled());
    if (port_->text() != toQString(controls.portText)) {
        port_->setText(toQString(controls.portText));
    }
    port_->setToolTip(toQString(controls.portToolTip));

    const StreamListener& listener = listeners.tcpArray(id_).listener();
    if (!listener.isListening()) {
        tcpState_->setText(tr("closed"));
    } else if (!server_.TimeSynced()) {
        // Clients wait in the backlog until the clock has been set: not "listening" to them.
        tcpState_->setText(tr("port %1: %2").arg(listener.serverPort()).arg(waitingForSyncText()));
    } else {
        tcpState_->setText(tr("listening on port %1").arg(listener.serverPort()));
    }
    udpState_->setText(listeners.udpBound(id_)
                           ? tr("bound to port %1").arg(listeners.udpSocket(id_).localPort())
                           : tr("closed"));
    const ServiceRow& row = serviceRow(id_);
    tcpCount_->setText(row.countsTcpAccepts ? QString::number(listeners.tcpRequests(id_).value())
                                            : tr("not counted"));
    udpCount_->setText(QString::number(listeners.udpRequests(id_).value()));
    const RemoteHost& client = server_.remoteHost(row.remoteHostBox);
    lastClient_->setText(
        client.address.empty()
            ? tr("none yet")
            : tr("%1, at %2")
                  .arg(toQString(client.address), toQString(generalDateText(client.when))));
    if (ntpMs_ != nullptr) {
        ntpMs_->setText(QStringLiteral("NTPms ") + QString::number(server_.lastNtpMilliseconds()));
    }
}

} // namespace cvl
