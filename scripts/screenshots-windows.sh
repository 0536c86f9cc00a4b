#!/usr/bin/env bash
# Pictures of the Windows main window on every tree node and of the configuration dialog, at
# 100% and 200% scaling, under Xvfb and wine, for review by eye. Needs a Windows build
# (cmake --preset windows), xvfb and python3.
# Usage: scripts/screenshots-windows.sh [OUT_DIR]   (default /tmp/chronvale-screenshots-windows)
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-/tmp/chronvale-screenshots-windows}
wine=${CHRONVALE_WINE64:-/usr/lib/wine/wine64}
wineserver=${CHRONVALE_WINESERVER:-/usr/lib/wine/wineserver64}
cmake --build --preset windows --target win32_screenshots >/dev/null
program=$PWD/build-windows/tests/ui/win32_screenshots.exe
work=$(mktemp -d)
trap 'WINEPREFIX=$work/prefix "$wineserver" -k 2>/dev/null || true; rm -rf "$work"' EXIT
export WINEPREFIX=$work/prefix WINEDEBUG=-all CHRONVALE_NO_SET_CLOCK=1 TZ=UTC
"$wine" wineboot -i </dev/null >/dev/null 2>&1
"$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /t REG_SZ /d N /f >/dev/null 2>&1
# Scalings in per cent, each in a folder of its name: CHRONVALE_SCALES="100 150 200" adds 150 %.
for scale in ${CHRONVALE_SCALES:-100 200}; do
  # The prefix's DPI: 96 at 100 %, 192 at 200 %.
  "$wine" reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d $((96 * scale / 100)) \
    /f >/dev/null 2>&1
  "$wineserver" -w
  mkdir -p "$out/${scale}"
  folder=$(realpath "$out/${scale}")
  xvfb-run -a -s "-screen 0 2560x1600x24" "$wine" "$program" "Z:${folder//\//\\}" \
    </dev/null >/dev/null 2>&1
  python3 - "$out/${scale}"/*.bmp <<'PY'
# 24-bit bottom-up BMP to PNG, with nothing but the standard library.
import struct, sys, zlib
for path in sys.argv[1:]:
    data = open(path, "rb").read()
    offset, = struct.unpack_from("<I", data, 10)
    width, height = struct.unpack_from("<ii", data, 18)
    stride = (width * 3 + 3) & ~3
    rows = []
    for y in range(height - 1, -1, -1):
        row = data[offset + y * stride: offset + y * stride + width * 3]
        rows.append(b"\0" + bytes(b for i in range(0, len(row), 3) for b in (row[i + 2], row[i + 1], row[i])))
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
    png += chunk(b"IDAT", zlib.compress(b"".join(rows), 6)) + chunk(b"IEND", b"")
    open(path[:-4] + ".png", "wb").write(png)
    import os; os.remove(path)
PY
done
echo "saved in $out"
