// SIGINT and SIGTERM delivered to the event loop, so that shutdown runs in order on the main
// thread instead of inside a signal handler.
#pragma once

#include <QObject>

class QSocketNotifier;

namespace cvl {

class TerminationSignals final : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

signals:
    void terminationRequested(int signalNumber);

private:
    void drain();
    QSocketNotifier* notifier_ = nullptr;
};

} // namespace cvl
