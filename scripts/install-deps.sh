#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the benchmarks need.
# Used by the README's commands and by .ci/run, so the list lives only here.
set -euo pipefail

packages=(
  # build
  build-essential cmake ninja-build ccache pkg-config clang-format
  clang libclang-rt-14-dev
  # tests and benchmarks
  googletest libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth
  # window
  qt6-base-dev qt6-base-dev-tools qt6-webengine-dev libgl-dev libxkbcommon-dev
  qt6-qpa-plugins qt6-svg-dev
  # packaging: icons, validators
  librsvg2-bin desktop-file-utils appstream
  # examples/make-examples.sh
  libspreadsheet-writeexcel-perl
  # layout files
  libexpat1-dev
  # readers
  mdbtools-dev libglib2.0-dev libwps-dev librevenge-dev libgsf-1-dev
  libsqlite3-dev sqlite3
  # ODBC and the drivers its tests use
  unixodbc unixodbc-dev libsqliteodbc odbc-postgresql postgresql
)

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update
  $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi
