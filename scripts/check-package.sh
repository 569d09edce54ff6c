#!/usr/bin/env bash
# Builds the Debian package and checks the install: the desktop entry and the
# metainfo validate, an install into an empty prefix holds the expected tree,
# and the package installs, both programs run from /usr/bin, and it is removed.
# Usage: scripts/check-package.sh [BUILD_DIR]   (run as root or with sudo)
# A BUILD_DIR that is already configured (CI's) is used as it is; otherwise a
# build of the two programs alone is configured in it.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-package}
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -G Ninja -DROWQUILL_BUILD_TESTS=OFF -DROWQUILL_BUILD_BENCH=OFF >/dev/null
fi
cmake --build "$build" -j"$(nproc)" --target rowquill rowquill-cli rowquill_icons

desktop-file-validate packaging/org.nubro.rowquill.desktop
appstreamcli validate --no-net "$build/packaging/org.nubro.rowquill.metainfo.xml"

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
missing=0
for f in bin/rowquill bin/rowquill-cli \
  share/rowquill/help/helpfiles/help_rowquill/sitemap.html \
  share/rowquill/help/tutorial/tutoriallibrary.htm \
  share/applications/org.nubro.rowquill.desktop \
  share/metainfo/org.nubro.rowquill.metainfo.xml \
  share/mime/packages/org.nubro.rowquill.xml \
  share/icons/hicolor/scalable/apps/rowquill.svg \
  share/icons/hicolor/48x48/apps/rowquill.png \
  share/icons/hicolor/256x256/apps/rowquill.png \
  share/man/man1/rowquill.1 \
  share/man/man1/rowquill-cli.1 \
  share/bash-completion/completions/rowquill-cli; do
  if [ ! -e "$prefix/$f" ]; then echo "missing from the install tree: $f" >&2; missing=1; fi
done
if find "$prefix/bin" -mindepth 1 ! -name rowquill ! -name rowquill-cli | grep .; then
  echo "unexpected files in bin/" >&2; missing=1
fi
[ "$missing" -eq 0 ]
man -l "$prefix/share/man/man1/rowquill.1" >/dev/null 2>&1 || groff -man -Tutf8 -ww -z \
  "$prefix/share/man/man1/rowquill.1"
appstreamcli validate-tree --no-net "$prefix" || true   # advisory: a tree in a prefix

(cd "$build" && cpack -G DEB >/dev/null)
deb=$(realpath "$(ls "$build"/rowquill_*.deb)")
dpkg-deb --field "$deb" Depends
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get install -y "$deb" >/dev/null
trap '$SUDO apt-get remove -y rowquill >/dev/null; rm -rf "$prefix"' EXIT
/usr/bin/rowquill-cli --version
/usr/bin/rowquill --version
# The installed programs at work: the batch converter on the bundled example,
# and the window's help pages found in the installed tree.
/usr/bin/rowquill-cli convert examples/orders/orders.csv -o "$prefix/example.xml"
grep -q "Vins et alcools Chevalier" "$prefix/example.xml"
test -f /usr/share/rowquill/help/helpfiles/help_rowquill/sitemap.html
$SUDO apt-get remove -y rowquill >/dev/null
trap 'rm -rf "$prefix"' EXIT
if [ -e /usr/bin/rowquill ]; then echo "rowquill is still installed" >&2; exit 1; fi
echo "package check passed: $(basename "$deb")"
