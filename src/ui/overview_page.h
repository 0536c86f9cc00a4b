// The root of the service tree: whether the server is synchronised, the result of its last
// synchronisation, and every service at a glance.
#pragma once

#include <QWidget>

class QLabel;
class QTableWidget;

namespace cvl {

class CVL_Server;

class OverviewPage final : public QWidget {
    Q_OBJECT
public:
    explicit OverviewPage(CVL_Server& server, QWidget* parent = nullptr);
    void refresh();

private:
    CVL_Server& server_;
    QLabel* synced_;
    QLabel* message_;
    QLabel* reference_;
    QTableWidget* services_;
};

} // namespace cvl
