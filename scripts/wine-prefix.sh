#!/usr/bin/env bash
# The wine prefix the Windows tests run in: "start DIR" makes it fresh, "stop DIR" ends its wine
# server and any helper process that outlived it (found by the prefix in its environment).
set -euo pipefail
verb=$1 prefix=$2
wine=${CHRONVALE_WINE64:-/usr/lib/wine/wine64}
wineserver=${CHRONVALE_WINESERVER:-/usr/lib/wine/wineserver64}

stop() {
  [[ -d $prefix ]] || return 0
  WINEPREFIX=$prefix "$wineserver" -k 2>/dev/null || true
  for environ in /proc/[0-9]*/environ; do
    if tr '\0' '\n' <"$environ" 2>/dev/null | grep -qxF "WINEPREFIX=$prefix"; then
      pid=${environ#/proc/}
      pid=${pid%/environ}
      [[ $pid == "$$" || $pid == "$PPID" ]] || kill "$pid" 2>/dev/null || true
    fi
  done
}

case $verb in
  start)
    stop
    rm -rf "$prefix"
    mkdir -p "$prefix"
    # Its helpers keep inherited descriptors open: give them none of ctest's.
    WINEPREFIX=$prefix WINEDEBUG=-all "$wine" wineboot -i </dev/null >/dev/null 2>&1
    ;;
  stop) stop ;;
  *) echo "usage: $0 start|stop PREFIX" >&2; exit 2 ;;
esac
