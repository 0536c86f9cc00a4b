// The program as the Windows service ChronvaleServer: the service control manager starts it,
// hears when it runs, and asks it to stop (a stop, or the system shutting down). The server
// runs on the manager's service thread with its own loop; a stop is handed to that loop.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace cvl {

inline constexpr char kServiceName[] = "ChronvaleServer";
inline constexpr char kServiceDisplayName[] = "Chronvale Server";

// What the running service tells the control manager, and hears from it.
class ServiceSession {
public:
    virtual ~ServiceSession() = default;
    // The listeners are open: the service runs.
    virtual void reportRunning() = 0;
    // Called on the manager's thread when the service is asked to stop; set before running.
    virtual void setStopHandler(std::function<void()> stop) = 0;
};

// Runs `serve` as the service, its result the service's exit code; nullopt, and nothing run,
// when the process was not started by the service control manager.
[[nodiscard]] std::optional<int> runAsService(const std::function<int(ServiceSession&)>& serve);

// Installs the service for program (started automatically, with --service) and starts it;
// an installed one is given the program again.
bool installService(const std::string& program);
// Stops the service, waiting while it writes its settings back, and removes it.
bool removeService();

// Whether the service ChronvaleServer is installed and running on this machine.
[[nodiscard]] bool serviceRunning();

} // namespace cvl
