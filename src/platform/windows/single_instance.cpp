// One copy per machine on Windows: a named mutex in the global namespace, which every user's
// session sees; the system releases it with the process, so a crash leaves nothing behind.
#include "platform/single_instance.h"

#include <windows.h>

namespace cvl {

namespace {

constexpr char kMutexName[] = "Global\\Chronvale Server";

} // namespace

SingleInstance::SingleInstance(EventLoop& loop)
    : loop_(loop) {}

SingleInstance::~SingleInstance() {
    if (descriptor_ != -1) {
        CloseHandle(reinterpret_cast<HANDLE>(descriptor_));
    }
}

bool SingleInstance::acquire() {
    if (descriptor_ != -1) {
        return true;
    }
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, kMutexName);
    if (mutex == nullptr) {
        return true; // without the mutex there is nothing to guard either
    }
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        CloseHandle(mutex);
        return false;
    }
    descriptor_ = reinterpret_cast<std::intptr_t>(mutex);
    return true;
}

bool SingleInstance::askRunningCopyToShow() {
    // The Windows desktop brings its own window forward; a headless copy has none.
    return false;
}

void SingleInstance::answerRequests() {}

} // namespace cvl
