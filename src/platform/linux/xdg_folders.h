// The user's folders after the XDG rules: a variable that holds an absolute path, else the
// usual place under $HOME.
#pragma once

#include <string>

namespace cvl {

// $XDG_CONFIG_HOME or ~/.config.
[[nodiscard]] std::string xdgConfigHome();
// $XDG_DATA_HOME or ~/.local/share.
[[nodiscard]] std::string xdgDataHome();

} // namespace cvl
