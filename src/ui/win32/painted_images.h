// The program's pictures on the Windows desktop, painted with GDI+ rather than shipped: the clock
// icon of the window and tray, the activity indicator's idle and busy images, and the flags of the
// reference-server list. They are the Linux desktop's pictures, in the same colours and
// proportions, painted afresh at whatever pixel size the monitor's DPI asks for.
#pragma once

#include <windows.h>

namespace cvl {

// Every icon is 32-bit with a real alpha channel, transparent outside the drawing, and painted
// for exactly `pixels` pixels square (16, 20, 24, 32, 48...; sizes outside 1..256 are clamped).
// The caller owns the icon and frees it with DestroyIcon. nullptr if the system refuses GDI+ or
// the bitmaps.

// The clock.
[[nodiscard]] HICON applicationIcon(int pixels);
// The tray's icon: the clock, marked with a red dot in a corner until the first synchronisation,
// since until then no client is served.
[[nodiscard]] HICON trayIcon(bool synced, int pixels);
// The activity indicator: idle (a grey clock), or a query under way (an amber one).
[[nodiscard]] HICON activityIcon(bool busy, int pixels);
// Flag image `index` of the server list (2, the world, for anything unknown).
[[nodiscard]] HICON flagIcon(int index, int pixels);

} // namespace cvl
