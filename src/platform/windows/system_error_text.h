// The system's own words for a Win32 or Winsock error code, as one line.
#pragma once

#include <string>

namespace cvl {

[[nodiscard]] std::string systemErrorText(unsigned long code);

} // namespace cvl
