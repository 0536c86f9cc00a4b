// Locking a registry key with its access list, so that a test meets the registry's own refusal.
#pragma once

#include <string>

namespace cvl::test {

// Under HKEY_LOCAL_MACHINE: locked, nobody may do anything with the key (an empty list);
// unlocked, everybody everything (no list). Its owner may always change the list.
bool lockRegistryKey(const std::string& subKey, bool locked);

} // namespace cvl::test
