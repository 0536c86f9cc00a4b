#include "ui/qt/overview_page.h"
#include "ui/qt/qt_text.h"

#include "core/cvl_server.h"
#include "log/request_log.h"
#include "sync/time_query.h"
#include "ui/qt/service_page.h"

#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>
#include <cmath>

namespace cvl {

namespace {

// The controller's message carries the offset with every digit; a tenth of a millisecond is
// what a reader wants beside it.
QString offsetText(double milliseconds) {
    double tenths = std::round(milliseconds * 10) / 10;
    if (tenths == 0) {
        tenths = 0; // no "-0.0"
    }
    return (tenths > 0 ? QStringLiteral("+") : QString()) + QString::number(tenths, 'f', 1) +
           QStringLiteral(" ms");
}

QLabel* wrappingLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

OverviewPage::OverviewPage(CVL_Server& server, QWidget* parent)
    : QWidget(parent)
    , server_(server)
    , form_(new QFormLayout)
    , synced_(new QLabel(this))
    , asked_(wrappingLabel(this))
    , nextTry_(new QLabel(this))
    , unanswered_(wrappingLabel(this))
    , message_(wrappingLabel(this))
    , reference_(wrappingLabel(this))
    , services_(new QTableWidget(static_cast<int>(kServiceCount), 4, this)) {
    setObjectName(QStringLiteral("page_overview"));
    synced_->setObjectName(QStringLiteral("SyncState"));
    asked_->setObjectName(QStringLiteral("AskedServer"));
    nextTry_->setObjectName(QStringLiteral("NextTry"));
    unanswered_->setObjectName(QStringLiteral("Unanswered"));
    message_->setObjectName(QStringLiteral("SyncResult"));
    reference_->setObjectName(QStringLiteral("Reference"));
    form_->addRow(tr("Clients:"), synced_);
    form_->addRow(tr("Last query:"), asked_);
    form_->addRow(tr("Next query:"), nextTry_);
    form_->addRow(tr("No answer:"), unanswered_);
    form_->addRow(tr("Last synchronisation:"), message_);
    form_->addRow(tr("Reference server:"), reference_);

    services_->setObjectName(QStringLiteral("ServiceSummary"));
    services_->setHorizontalHeaderLabels(
        {tr("Service"), tr("Sockets"), tr("TCP requests"), tr("UDP requests")});
    services_->verticalHeader()->hide();
    services_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    services_->setSelectionMode(QAbstractItemView::NoSelection);
    services_->setFocusPolicy(Qt::NoFocus);
    services_->setWordWrap(false);
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
    layout->addLayout(form_);
    layout->addWidget(services_, 1);
    refresh();
}

void OverviewPage::refresh() {
    const TimeQuery& query = server_.timeQuery();
    const bool synced = server_.TimeSynced();
    if (synced) {
        synced_->setText(tr("Synchronised: every enabled service answers its clients"));
    } else {
        synced_->setText(tr("Not synchronised: clients are refused until the first answer"));
    }
    // Before the first answer the operator needs to know whom we are waiting for and when we
    // try again; after it, what we got and from whom.
    asked_->setText(server_.askedServer().empty()
                        ? tr("not asked yet")
                        : tr("%1, at %2")
                              .arg(toQString(server_.askedServer()),
                                   toQString(generalDateText(server_.askedAt()))));
    nextTry_->setText(tr("in %1 s").arg(server_.secondsToNextSync()));
    unanswered_->setText(toQString(server_.unansweredText()));
    message_->setText(
        query.SyncMessage().empty()
            ? tr("none yet")
            : tr("%1 (%2)").arg(toQString(query.SyncMessage()), offsetText(query.LastOffsetMs())));
    reference_->setText(query.RefServerIP().empty()
                            ? toQString(server_.CurrentServer())
                            : tr("%1 (%2), at %3")
                                  .arg(toQString(server_.CurrentServer()),
                                       toQString(query.RefServerIP()),
                                       toQString(generalDateText(query.LastSyncTime()))));
    form_->setRowVisible(asked_, !synced);
    form_->setRowVisible(unanswered_, !server_.unansweredText().empty());
    form_->setRowVisible(message_, synced);
    form_->setRowVisible(reference_, synced);

    const ServiceListeners& listeners = server_.listeners();
    bool rowsChanged = false;
    for (const ServiceRow& row : serviceTable()) {
        const int r = static_cast<int>(indexOf(row.id));
        QStringList sockets;
        if (listeners.tcpListening(row.id)) {
            const quint16 port = listeners.tcpArray(row.id).listener().serverPort();
            // A listener that holds its clients back must not read as one that serves them.
            sockets << (synced ? tr("TCP %1").arg(port)
                               : tr("TCP %1: %2").arg(port).arg(waitingForSyncText()));
        }
        if (listeners.udpBound(row.id)) {
            sockets << tr("UDP %1").arg(listeners.udpSocket(row.id).localPort());
        }
        services_->item(r, 0)->setText(serviceName(row.id));
        // The waiting text makes a line too long for the column: one socket a line then.
        const QString separator = synced ? QStringLiteral(", ") : QStringLiteral("\n");
        QTableWidgetItem* socketItem = services_->item(r, 1);
        const QString socketText = sockets.isEmpty() ? tr("closed") : sockets.join(separator);
        if (socketItem->text() != socketText) {
            socketItem->setText(socketText);
            socketItem->setToolTip(socketText);
            rowsChanged = true;
        }
        services_->item(r, 2)->setText(row.countsTcpAccepts
                                           ? QString::number(listeners.tcpRequests(row.id).value())
                                           : QStringLiteral("-"));
        services_->item(r, 3)->setText(QString::number(listeners.udpRequests(row.id).value()));
    }
    if (rowsChanged) {
        services_->resizeRowsToContents();
    }
}

} // namespace cvl
