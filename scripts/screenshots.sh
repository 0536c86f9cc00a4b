#!/usr/bin/env bash
# Pictures of the main window on every tree node and of the configuration dialog, at 100% and
# 200% scaling, light and dark, for review by eye. Needs xvfb (apt-get install xvfb).
# Usage: scripts/screenshots.sh [OUT_DIR]   (default /tmp/chronvale-screenshots)
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-/tmp/chronvale-screenshots}
cmake --build build --target screenshots >/dev/null
export CHRONVALE_NO_SET_CLOCK=1
for scale in 1 2; do
  for look in light dark; do
    QT_SCALE_FACTOR=$scale xvfb-run -a -s "-screen 0 2560x1600x24" \
      build/tests/ui/screenshots "$out/${look}-${scale}x" "$look"
  done
done
echo "saved in $out"
