#include "platform/linux/termination_signals.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace cvl {

namespace {

int pipeFds[2] = {-1, -1};

void onSignal(int signalNumber) {
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const auto written = ::write(pipeFds[1], &byte, 1);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent) {
    if (pipeFds[0] < 0 && ::pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    notifier_ = new QSocketNotifier(pipeFds[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &TerminationSignals::drain);

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

void TerminationSignals::drain() {
    unsigned char byte = 0;
    int last = 0;
    while (::read(pipeFds[0], &byte, 1) == 1) {
        last = byte;
    }
    if (last != 0) {
        emit terminationRequested(last);
    }
}

} // namespace cvl
