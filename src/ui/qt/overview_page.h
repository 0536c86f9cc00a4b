// The root of the service tree: whether clients are served, what the last synchronisation
// asked or found, and every service at a glance.
#pragma once

#include <QWidget>

class QFormLayout;
class QLabel;
class QTableWidget;

namespace cvl {

class ServerController;

class OverviewPage final : public QWidget {
    Q_OBJECT
public:
    explicit OverviewPage(ServerController& server, QWidget* parent = nullptr);
    void refresh();

private:
    ServerController& server_;
    QFormLayout* form_;
    QLabel* synced_;
    QLabel* asked_;
    QLabel* nextTry_;
    QLabel* unanswered_;
    QLabel* message_;
    QLabel* reference_;
    QTableWidget* services_;
};

} // namespace cvl
