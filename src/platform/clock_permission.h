// Whether this run may step the system clock at all, whatever its privileges.
#pragma once

namespace cvl {

// True unless the environment forbids stepping the clock (CHRONVALE_NO_SET_CLOCK=1).
[[nodiscard]] bool environmentAllowsClockStep();

} // namespace cvl
