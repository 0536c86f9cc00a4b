// The server's life from settings to shutdown, shared by the daemon and the desktop program:
// one running copy per machine, the platform services, the controller, a front end (standard
// error, or windows), the system's stop requests, the event loop, and the orderly stop.
#pragma once

#include "app/command_line.h"
#include "core/front_end.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace cvl {

class ServerController;

// Runs the server until it is told to stop; the exit status. A toolkit the front end needs
// must be set up already. `afterStart` sees the server once it has started (the benchmarks'
// own build switches the request log off there).
int runServer(const CommandLine& line, FrontEnd& frontEnd,
              const std::function<void(ServerController&)>& afterStart = {});

// Answers --help and --version, or reports a command-line error; nullopt when the server
// should run. Used first thing by both programs.
[[nodiscard]] std::optional<int> handleInformationalOptions(const CommandLineResult& parsed);

// The command line as main() received it.
[[nodiscard]] std::vector<std::string> argumentList(int argc, char* argv[]);

} // namespace cvl
