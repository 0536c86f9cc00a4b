#include "platform/linux/process_signals.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace cvl {

namespace {

int pipeFds[2] = {-1, -1};

void onSignal(int signalNumber) {
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const auto written = ::write(pipeFds[1], &byte, 1);
}

} // namespace

ProcessSignals::ProcessSignals(EventLoop& loop, std::function<void(int)> onTermination,
                               std::function<void()> onSyncRequest)
    : onTermination_(std::move(onTermination))
    , onSyncRequest_(std::move(onSyncRequest)) {
    if (pipeFds[0] < 0 && ::pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    watch_.start(loop, pipeFds[0], EventLoop::Readable, [this](unsigned) { drain(); });

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGUSR1, &action, nullptr);
}

ProcessSignals::~ProcessSignals() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGUSR1, SIG_DFL);
}

void ProcessSignals::drain() {
    unsigned char byte = 0;
    int termination = 0;
    bool sync = false;
    while (::read(pipeFds[0], &byte, 1) == 1) {
        if (byte == SIGUSR1) {
            sync = true;
        } else {
            termination = byte;
        }
    }
    if (sync) {
        onSyncRequest_();
    }
    if (termination != 0) {
        onTermination_(termination);
    }
}

} // namespace cvl
