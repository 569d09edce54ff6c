#!/bin/sh
# Pictures of the window on the bundled example, for the README: builds the
# program if needed, then runs it under a virtual display and saves
# docs/sheet.png, docs/layout.png, docs/generate.png and docs/preview.png.
# Needs xvfb-run. Usage: scripts/screenshots.sh [BUILD_DIR]
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}

if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S "$root" -B "$build" -G Ninja -DROWQUILL_BUILD_GUI=ON
fi
cmake --build "$build" -j2 --target rowquill

program="$build/src/app/rowquill"
[ -x "$program" ] || { echo "no window program at $program (is the GUI built?)" >&2; exit 1; }
command -v xvfb-run >/dev/null || { echo "xvfb-run is needed" >&2; exit 1; }

mkdir -p "$root/docs"
QT_QPA_PLATFORM=xcb QTWEBENGINE_DISABLE_SANDBOX=1 \
    xvfb-run -a -s "-screen 0 1280x800x24" \
    "$program" --screenshots "$root/docs" "$root/examples/orders/orders.csv"
ls -l "$root/docs"/*.png
