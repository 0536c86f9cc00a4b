// Where the program keeps its server file, Logs/ and the updater. A build tree or an unpacked
// copy keeps them beside the executable; an installed copy cannot, since its executable sits in
// a folder that is not the program's to write (bin/ of a prefix), so it keeps them in a data
// folder of the machine (root) or of the user.
#pragma once

#include "platform/server_file_copy.h"

#include <string>

namespace cvl {

// The running program's file (/proc/self/exe), also when it was started through PATH; empty
// when the system does not say.
[[nodiscard]] std::string runningProgramFile();

// The machine's program folder for an installed copy run by root.
inline constexpr const char* kSystemProgramFolder = "/var/lib/chronvale-server";

// The server file an installed copy ships, relative to the executable's folder
// (<prefix>/share/chronvale-server/QBK_CVLS4.CVL), whether or not it is there.
[[nodiscard]] std::string installedServerFile(const std::string& executableFolder);

// The program folder when --data-dir names none: the executable's folder when it is writable
// and not part of an installed copy; otherwise kSystemProgramFolder for root and
// <dataHome>/chronvale-server for anybody else. Root may write to bin/ as well, which is why
// an installed layout counts as well as the folder's permissions.
[[nodiscard]] std::string defaultProgramFolder(const std::string& executableFolder, bool root,
                                               const std::string& dataHome);

} // namespace cvl
