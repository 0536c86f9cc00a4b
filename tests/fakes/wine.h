// Whether the tests run under wine, for the few things wine does not do as Windows does.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

namespace cvl::test {

[[nodiscard]] inline bool underWine() {
#ifdef _WIN32
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
    return false;
#endif
}

} // namespace cvl::test
