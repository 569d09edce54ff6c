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
cli="$build/src/rowquill-cli"
if [ ! -x "$cli" ]; then
  echo "rowquill-cli was not built; built into $build:"
  find "$build" -maxdepth 3 -type f -perm -u+x -name 'rowquill*' | sort
  exit 1
fi
out="${TMPDIR:-/tmp}/rowquill-example.xml"
echo "Tables of $example:"
"$cli" tables "$example" | sed 's/^/  /'
"$cli" convert "$example" --table "orders#csv" --layout examples/orders/orders.rqlayout \
  --convert-symbols -o "$out"
echo "XML written to $out"
