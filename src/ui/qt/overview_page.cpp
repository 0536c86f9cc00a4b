#include "ui/qt/overview_page.h"
#include "ui/qt/qt_text.h"

#include "core/server_controller.h"
#include "core/service_table.h"

#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

namespace cvl {

namespace {

QLabel* wrappingLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

OverviewPage::OverviewPage(ServerController& server, QWidget* parent)
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
    const StatusModel& status = server_.status();
    const OverviewStatus overview = status.overview();
    synced_->setText(toQString(overview.clients));
    asked_->setText(toQString(overview.lastQuery));
    nextTry_->setText(toQString(overview.nextQuery));
    unanswered_->setText(toQString(overview.unanswered));
    message_->setText(toQString(overview.syncResult));
    reference_->setText(toQString(overview.reference));
    form_->setRowVisible(asked_, !overview.lastQuery.empty());
    form_->setRowVisible(unanswered_, !overview.unanswered.empty());
    form_->setRowVisible(message_, !overview.syncResult.empty());
    form_->setRowVisible(reference_, !overview.reference.empty());

    bool rowsChanged = false;
    for (const ServiceRow& row : serviceTable()) {
        const int r = static_cast<int>(indexOf(row.id));
        const ServiceStatus service = status.service(row.id);
        QStringList sockets;
        for (const std::string& socket : service.sockets) {
            sockets << toQString(socket);
        }
        services_->item(r, 0)->setText(toQString(service.name));
        // A socket held until the first answer makes a line too long for the column: one
        // socket a line then.
        const QString separator =
            overview.synchronised ? QStringLiteral(", ") : QStringLiteral("\n");
        QTableWidgetItem* socketItem = services_->item(r, 1);
        const QString socketText = sockets.isEmpty() ? tr("closed") : sockets.join(separator);
        if (socketItem->text() != socketText) {
            socketItem->setText(socketText);
            socketItem->setToolTip(socketText);
            rowsChanged = true;
        }
        services_->item(r, 2)->setText(service.countsTcpRequests ? toQString(service.tcpRequests)
                                                                 : QStringLiteral("-"));
        services_->item(r, 3)->setText(toQString(service.udpRequests));
    }
    if (rowsChanged) {
        services_->resizeRowsToContents();
    }
}

} // namespace cvl
