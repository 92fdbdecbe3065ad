#!/usr/bin/env bash
# Makes the Debian packages in build/package, lets lintian judge them, runs what is in them from a folder of their own, and has
# dpkg install and remove them.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
use_ccache
need_packages "${BUILD_PACKAGES[@]}" dpkg-dev lintian

# The same sources give the same packages.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
umask 022
cmake --preset package >/dev/null
cmake --build --preset package
rm -f build/package/*.deb
(cd build/package && cpack -G DEB >/dev/null)
ls build/package/*.deb
lintian --fail-on error --suppress-tags bad-distribution-in-changes-file build/package/*.deb

root=build/package/root
rm -rf "$root"
for package in build/package/*.deb; do dpkg-deb -x "$package" "$root"; done
libraries=$PWD/$(dirname "$(find "$root" -name 'libOrbmath.so.*' -print -quit)")
LD_LIBRARY_PATH=$libraries "$root/usr/bin/orbmath" info examples/data/pushbroom_left.RPB >/dev/null
echo "packages: the tool runs from them"

bash scripts/check-install.sh
