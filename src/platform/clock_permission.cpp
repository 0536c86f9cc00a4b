#include "platform/clock_permission.h"

#include <cstdlib>
#include <cstring>

namespace cvl {

bool environmentAllowsClockStep() {
    const char* value = std::getenv("CHRONVALE_NO_SET_CLOCK");
    return value == nullptr || std::strcmp(value, "1") != 0;
}

} // namespace cvl
