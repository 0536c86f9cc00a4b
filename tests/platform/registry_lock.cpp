#include "registry_lock.h"

#include <windows.h>

namespace cvl::test {

bool lockRegistryKey(const std::string& subKey, bool locked) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, WRITE_DAC, &key) != ERROR_SUCCESS) {
        return false;
    }
    ACL empty;
    SECURITY_DESCRIPTOR security;
    const bool set = InitializeAcl(&empty, sizeof empty, ACL_REVISION) &&
                     InitializeSecurityDescriptor(&security, SECURITY_DESCRIPTOR_REVISION) &&
                     SetSecurityDescriptorDacl(&security, TRUE, locked ? &empty : nullptr, FALSE) &&
                     RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &security) == ERROR_SUCCESS;
    RegCloseKey(key);
    return set;
}

} // namespace cvl::test
