#!/usr/bin/env bash
# Builds, then opens the window on the bundled example database when a display
# is present; otherwise converts the example with the batch converter and says
# where the XML went.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh
build="${BUILD_DIR:-build}"
example="examples/orders/orders.csv"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x "$build/src/app/rowquill" ]; then
  export QTWEBENGINE_DISABLE_SANDBOX=1
  exec "$build/src/app/rowquill" "$example"
fi
if [ -x "$build/rowquill-cli" ] || [ -x "$build/src/rowquill-cli" ]; then
  cli="$build/src/rowquill-cli"
  out="${TMPDIR:-/tmp}/rowquill-example.xml"
  "$cli" convert "$example" --table "orders#csv" -o "$out"
  echo "XML written to $out"
else
  echo "Built into $build:"
  find "$build" -maxdepth 3 -type f -perm -u+x -name 'rowquill*' | sort
fi
