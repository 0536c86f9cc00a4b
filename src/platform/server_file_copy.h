// A fresh program folder gets the server file that ships with the program.
#pragma once

#include <string>

namespace cvl {

// The reference-server file's name in the program folder.
inline constexpr char kServerFileName[] = "QBK_CVLS4.CVL";

// Puts a copy of `shippedFile` into the program folder when that has no server file yet, so
// that a fresh install synchronises without asking the update server first. A file already
// there is never replaced. Returns whether the folder holds a server file afterwards.
bool provideServerFile(const std::string& programFolder, const std::string& shippedFile);

} // namespace cvl
