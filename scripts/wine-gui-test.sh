#!/usr/bin/env bash
# Runs a Windows test that opens windows, under a virtual X display of its own and in a wine
# prefix of its own: a prefix's desktop belongs to the display it first started on, so the
# prefix the other tests share (started without one) cannot show windows.
# "wine-gui-test.sh WINE PROGRAM [ARGS...]"
set -euo pipefail
wine=$1
shift
wineserver=${CHRONVALE_WINESERVER:-$(dirname "$wine")/wineserver64}
[[ -x $wineserver ]] || wineserver=$(dirname "$wine")/wineserver
if ! command -v xvfb-run >/dev/null; then
  echo "xvfb-run is not installed (Debian: xvfb xauth): the desktop test needs a display" >&2
  exit 1
fi
work=$(mktemp -d)
export WINEPREFIX=$work/prefix WINEDEBUG=-all
trap 'WINEPREFIX=$work/prefix "$wineserver" -k 2>/dev/null || true; rm -rf "$work"' EXIT
# Windows shown without a window manager (there is none under Xvfb): a managed window takes
# two seconds to go while wine waits for one.
xvfb-run -a -s "-screen 0 1280x1024x24" bash -c '
  "$0" wineboot -i </dev/null >/dev/null 2>&1
  "$0" reg add "HKCU\\Software\\Wine\\X11 Driver" /v Managed /t REG_SZ /d N /f >/dev/null 2>&1
  "$1" -w
  shift
  exec "$0" "$@" </dev/null' "$wine" "$wineserver" "$@"
