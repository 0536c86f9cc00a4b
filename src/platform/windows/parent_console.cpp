#include "platform/windows/parent_console.h"

#include <cstdio>

#include <windows.h>

namespace cvl {

namespace {

bool goesSomewhere(DWORD stream) {
    const HANDLE handle = GetStdHandle(stream);
    return handle != nullptr && handle != INVALID_HANDLE_VALUE &&
           GetFileType(handle) != FILE_TYPE_UNKNOWN;
}

} // namespace

void useParentConsole() {
    const bool output = goesSomewhere(STD_OUTPUT_HANDLE);
    const bool error = goesSomewhere(STD_ERROR_HANDLE);
    // Attached even when the lines go to a file: Ctrl+C in that console stops the program.
    if (!AttachConsole(ATTACH_PARENT_PROCESS)) {
        return;
    }
    if (!output) {
        std::freopen("CONOUT$", "w", stdout);
    }
    if (!error) {
        std::freopen("CONOUT$", "w", stderr);
    }
}

} // namespace cvl
