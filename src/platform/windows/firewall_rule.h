// The Windows Firewall rule "Chronvale Server": inbound TCP and UDP for the program, so that
// clients on the network reach its services. Added and removed by the installer through the
// program itself (Windows Firewall's COM interface).
#pragma once

#include <string>

namespace cvl {

inline constexpr char kFirewallRuleName[] = "Chronvale Server";

// Replaces any rule of that name with one for program; false when the firewall refused.
bool addFirewallRule(const std::string& program);
bool removeFirewallRule();

} // namespace cvl
