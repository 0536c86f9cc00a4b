#include "platform/windows/service_control.h"

#include <mutex>

#include <windows.h>

namespace cvl {

namespace {

// How long each step may take, as the control manager is told: it gives up on a service that
// says nothing for longer. Start-up opens sockets and reads settings; a stop writes them.
constexpr DWORD kStartWaitMs = 10000;
constexpr DWORD kStopWaitMs = 15000;

class ManagedSession final : public ServiceSession {
public:
    explicit ManagedSession(const std::function<int(ServiceSession&)>& serve)
        : serve_(serve) {}

    void run() {
        handle_ = RegisterServiceCtrlHandlerExA(kServiceName, control, this);
        if (handle_ == nullptr) {
            return;
        }
        report(SERVICE_START_PENDING, kStartWaitMs);
        exitCode_ = serve_(*this);
        SERVICE_STATUS status = base(SERVICE_STOPPED, 0);
        if (exitCode_ != 0) {
            status.dwWin32ExitCode = ERROR_SERVICE_SPECIFIC_ERROR;
            status.dwServiceSpecificExitCode = DWORD(exitCode_);
        }
        SetServiceStatus(handle_, &status);
    }

    void reportRunning() override { report(SERVICE_RUNNING, 0); }

    void setStopHandler(std::function<void()> stop) override {
        const std::lock_guard lock(mutex_);
        stop_ = std::move(stop);
        if (stopAsked_ && stop_) {
            stop_();
        }
    }

    [[nodiscard]] int exitCode() const { return exitCode_; }

private:
    static SERVICE_STATUS base(DWORD state, DWORD waitHint) {
        SERVICE_STATUS status{};
        status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
        status.dwCurrentState = state;
        status.dwControlsAccepted =
            state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
        status.dwWaitHint = waitHint;
        return status;
    }

    void report(DWORD state, DWORD waitHint) {
        SERVICE_STATUS status = base(state, waitHint);
        status.dwCheckPoint = waitHint != 0 ? ++checkPoint_ : 0;
        SetServiceStatus(handle_, &status);
    }

    static DWORD WINAPI control(DWORD code, DWORD, LPVOID, LPVOID context) {
        auto* self = static_cast<ManagedSession*>(context);
        switch (code) {
        case SERVICE_CONTROL_STOP:
        case SERVICE_CONTROL_SHUTDOWN: {
            self->report(SERVICE_STOP_PENDING, kStopWaitMs);
            const std::lock_guard lock(self->mutex_);
            self->stopAsked_ = true;
            if (self->stop_) {
                self->stop_();
            }
            return NO_ERROR;
        }
        case SERVICE_CONTROL_INTERROGATE:
            return NO_ERROR;
        default:
            return ERROR_CALL_NOT_IMPLEMENTED;
        }
    }

    const std::function<int(ServiceSession&)>& serve_;
    SERVICE_STATUS_HANDLE handle_ = nullptr;
    DWORD checkPoint_ = 0;
    int exitCode_ = 0;
    std::mutex mutex_;
    std::function<void()> stop_;
    bool stopAsked_ = false;
};

// The manager calls the service's main function with no context of ours.
const std::function<int(ServiceSession&)>* gServe = nullptr;
int gExitCode = 0;

void WINAPI serviceMain(DWORD, LPSTR*) {
    ManagedSession session(*gServe);
    session.run();
    gExitCode = session.exitCode();
}

} // namespace

std::optional<int> runAsService(const std::function<int(ServiceSession&)>& serve) {
    gServe = &serve;
    char name[sizeof kServiceName];
    lstrcpyA(name, kServiceName);
    const SERVICE_TABLE_ENTRYA table[] = {{name, serviceMain}, {nullptr, nullptr}};
    if (!StartServiceCtrlDispatcherA(table)) {
        return std::nullopt; // ERROR_FAILED_SERVICE_CONTROLLER_CONNECT: not started as a service
    }
    return gExitCode;
}

namespace {

// Waits for a stop, as net stop does: long enough for the settings to be written back.
void waitForStop(SC_HANDLE service) {
    SERVICE_STATUS status{};
    for (int i = 0; i < 100 && QueryServiceStatus(service, &status) &&
                    status.dwCurrentState != SERVICE_STOPPED;
         ++i) {
        Sleep(200);
    }
}

} // namespace

bool installService(const std::string& program) {
    SC_HANDLE manager = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    if (manager == nullptr) {
        return false;
    }
    const std::string command = "\"" + program + "\" --service";
    SC_HANDLE service =
        CreateServiceA(manager, kServiceName, kServiceDisplayName, SERVICE_ALL_ACCESS,
                       SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                       command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    if (service == nullptr && GetLastError() == ERROR_SERVICE_EXISTS) {
        service = OpenServiceA(manager, kServiceName, SERVICE_ALL_ACCESS);
        if (service != nullptr) {
            ChangeServiceConfigA(service, SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE,
                                 command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                 kServiceDisplayName);
        }
    }
    bool started = false;
    if (service != nullptr) {
        char text[] = "Answers Daytime, Time, NTP/SNTP and Unix time on this machine.";
        SERVICE_DESCRIPTIONA description{text};
        ChangeServiceConfig2A(service, SERVICE_CONFIG_DESCRIPTION, &description);
        started =
            StartServiceA(service, 0, nullptr) || GetLastError() == ERROR_SERVICE_ALREADY_RUNNING;
        CloseServiceHandle(service);
    }
    CloseServiceHandle(manager);
    return started;
}

bool removeService() {
    SC_HANDLE manager = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    if (manager == nullptr) {
        return false;
    }
    SC_HANDLE service = OpenServiceA(manager, kServiceName, SERVICE_ALL_ACCESS);
    bool removed = service == nullptr; // nothing to remove
    if (service != nullptr) {
        SERVICE_STATUS status{};
        if (ControlService(service, SERVICE_CONTROL_STOP, &status)) {
            waitForStop(service);
        }
        removed = DeleteService(service) != FALSE;
        CloseServiceHandle(service);
    }
    CloseServiceHandle(manager);
    return removed;
}

bool serviceRunning() {
    SC_HANDLE manager = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT);
    if (manager == nullptr) {
        return false;
    }
    SC_HANDLE service = OpenServiceA(manager, kServiceName, SERVICE_QUERY_STATUS);
    SERVICE_STATUS status{};
    const bool running = service != nullptr && QueryServiceStatus(service, &status) &&
                         status.dwCurrentState != SERVICE_STOPPED;
    if (service != nullptr) {
        CloseServiceHandle(service);
    }
    CloseServiceHandle(manager);
    return running;
}

} // namespace cvl
