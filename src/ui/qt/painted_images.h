// The program's pictures, painted rather than shipped: the clock icon of the window and tray,
// the activity indicator's idle and busy images, and the flags of the reference-server list.
#pragma once

#include <QIcon>

namespace cvl {

[[nodiscard]] QIcon applicationIcon();
// The tray's icon: the application's clock, marked in a corner until the first
// synchronisation, since until then no client is served.
[[nodiscard]] QIcon trayIcon(bool synced);
// The activity indicator: idle, or a query under way.
[[nodiscard]] QIcon activityIcon(bool busy);
// Flag image `index` of the server list (2, the world, for anything unknown).
[[nodiscard]] QIcon flagIcon(int index);

} // namespace cvl
