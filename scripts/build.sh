#!/usr/bin/env bash
# Configures and builds into ${BUILD_DIR:-build}. Extra arguments go to cmake.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${BUILD_DIR:-build}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DROWQUILL_WERROR="${ROWQUILL_WERROR:-OFF}" "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
