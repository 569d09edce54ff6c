#!/usr/bin/env bash
# Builds everything and runs every test (the window's tests on a virtual display).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh "$@"
build="${BUILD_DIR:-build}"
export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}"
export QTWEBENGINE_DISABLE_SANDBOX=1
if command -v xvfb-run >/dev/null 2>&1; then
  xvfb-run -a -s "-screen 0 1280x1024x24" ctest --test-dir "$build" --output-on-failure -j2
else
  ctest --test-dir "$build" --output-on-failure -j2
fi
