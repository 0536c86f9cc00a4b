// SIGINT and SIGTERM (stop in order) and SIGUSR1 (synchronise now) delivered to the event
// loop, so that what they ask for runs on the main thread instead of inside a signal handler.
#pragma once

#include <QObject>

class QSocketNotifier;

namespace cvl {

class ProcessSignals final : public QObject {
    Q_OBJECT
public:
    explicit ProcessSignals(QObject* parent = nullptr);
    ~ProcessSignals() override;

signals:
    void terminationRequested(int signalNumber);
    void syncRequested();

private:
    void drain();
    QSocketNotifier* notifier_ = nullptr;
};

} // namespace cvl
