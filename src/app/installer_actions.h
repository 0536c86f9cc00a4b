// What the Windows package asks of the program, which it runs from the installed folder: after
// installing, the start at logon or the service, the firewall rule and any settings given as
// properties; before removing, the service, the start at logon and the rule go again. The
// settings and the Logs folder stay.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace cvl {

// words: the command line after the program's name. nullopt when it is no installer action;
// else the exit status (0 when everything asked was done).
[[nodiscard]] std::optional<int> runInstallerAction(const std::vector<std::string>& words);

} // namespace cvl
