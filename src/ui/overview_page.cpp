#include "ui/overview_page.h"

#include "core/cvl_server.h"
#include "log/request_log.h"
#include "sync/time_query.h"
#include "ui/service_page.h"

#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

namespace cvl {

OverviewPage::OverviewPage(CVL_Server& server, QWidget* parent)
    : QWidget(parent)
    , server_(server)
    , synced_(new QLabel(this))
    , message_(new QLabel(this))
    , reference_(new QLabel(this))
    , services_(new QTableWidget(static_cast<int>(kServiceCount), 4, this)) {
    setObjectName(QStringLiteral("page_overview"));
    message_->setWordWrap(true);
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* form = new QFormLayout;
    form->addRow(tr("Clock:"), synced_);
    form->addRow(tr("Last synchronisation:"), message_);
    form->addRow(tr("Reference server:"), reference_);

    services_->setObjectName(QStringLiteral("ServiceSummary"));
    services_->setHorizontalHeaderLabels(
        {tr("Service"), tr("Sockets"), tr("TCP requests"), tr("UDP requests")});
    services_->verticalHeader()->hide();
    services_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    services_->setSelectionMode(QAbstractItemView::NoSelection);
    services_->setFocusPolicy(Qt::NoFocus);
    services_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    services_->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    for (int row = 0; row < services_->rowCount(); ++row) {
        for (int column = 0; column < services_->columnCount(); ++column) {
            services_->setItem(row, column, new QTableWidgetItem);
        }
    }

    auto* title = new QLabel(QStringLiteral("<b>%1</b>").arg(tr("CVL Servers")), this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addLayout(form);
    layout->addWidget(services_, 1);
    refresh();
}

void OverviewPage::refresh() {
    const TimeQuery& query = server_.timeQuery();
    synced_->setText(server_.TimeSynced()
                         ? tr("Synchronised; serving every enabled service")
                         : tr("Not yet synchronised; nothing is served until it is"));
    message_->setText(query.SyncMessage().isEmpty() ? tr("none yet") : query.SyncMessage());
    reference_->setText(query.RefServerIP().isEmpty()
                            ? server_.CurrentServer()
                            : tr("%1 (%2), at %3")
                                  .arg(server_.CurrentServer(), query.RefServerIP(),
                                       generalDateText(query.LastSyncTime())));

    const ServiceListeners& listeners = server_.listeners();
    for (const ServiceRow& row : serviceTable()) {
        const int r = static_cast<int>(indexOf(row.id));
        QStringList sockets;
        if (listeners.tcpListening(row.id)) {
            sockets << tr("TCP %1").arg(listeners.tcpArray(row.id).listener().serverPort());
        }
        if (listeners.udpBound(row.id)) {
            sockets << tr("UDP %1").arg(listeners.udpSocket(row.id).localPort());
        }
        services_->item(r, 0)->setText(serviceName(row.id));
        services_->item(r, 1)->setText(sockets.isEmpty() ? tr("closed")
                                                         : sockets.join(QStringLiteral(", ")));
        services_->item(r, 2)->setText(row.countsTcpAccepts
                                           ? QString::number(listeners.tcpRequests(row.id).value())
                                           : QStringLiteral("-"));
        services_->item(r, 3)->setText(QString::number(listeners.udpRequests(row.id).value()));
    }
}

} // namespace cvl
