#!/usr/bin/env bash
# Builds the tool as one file without any library beside it, and runs it in an empty root: build/static-tool/tools/orbmath/orbmath
# goes to any Linux of this processor. It opens no images: OrbmathRaster and GDAL are loaded at run time, which such a file cannot.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
use_ccache
need_packages g++ file

foreign_libraries static-tool
cmake -G Ninja -S . -B build/static-tool -DEigen3_DIR=/usr/share/eigen3/cmake -DCMAKE_PREFIX_PATH="$foreign_prefix" \
  -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DORBMATH_BUILD_RASTER=OFF -DORBMATH_WERROR=ON \
  -DCMAKE_EXE_LINKER_FLAGS=-static >/dev/null
cmake --build build/static-tool -j "$foreign_jobs" --target orbmath_tool

tool=build/static-tool/tools/orbmath/orbmath
kind=$(file "$tool")
case $kind in
  *"statically linked"*) ;;
  *) echo "not static: $kind" && exit 1 ;;
esac
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cp "$tool" examples/data/pushbroom_left.RPB "$root"
echo "47.30 8.50 410" >"$root/ground.txt"
in_root=(chroot "$root")
[ "$(id -u)" -eq 0 ] || in_root=(unshare -r chroot "$root")
here=$("$tool" project examples/data/pushbroom_left.RPB "$root/ground.txt")
there=$("${in_root[@]}" /orbmath project /pushbroom_left.RPB /ground.txt --threads 2)
[ "$here" = "$there" ] || { echo "in an empty root: $there, here: $here"; exit 1; }
"${in_root[@]}" /orbmath convert /pushbroom_left.RPB /left.xml
[ -s "$root/left.xml" ]
echo "static tool: $(stat -c %s "$tool") bytes, runs in an empty root: $there"
