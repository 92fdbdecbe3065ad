#!/usr/bin/env bash
# Builds the tool as one file without any library beside it, and runs it in an empty root: build/static-tool/tools/orbmath/orbmath
# goes to any Linux of this processor. It opens no images: OrbmathRaster and GDAL are loaded at run time, which such a file cannot.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
use_ccache
need_packages g++ file

# A search path for libraries would stop the start of such a file: the C library forbids one there. A static executable whose addresses
# are chosen at random, as those of the ordinary tool are, comes only where -static-pie stands last on the linker's line.
foreign_libraries static-tool
cmake -G Ninja -S . -B build/static-tool -DEigen3_DIR=/usr/share/eigen3/cmake -DCMAKE_PREFIX_PATH="$foreign_prefix" \
  -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DCMAKE_SKIP_RPATH=ON -DORBMATH_BUILD_RASTER=OFF -DORBMATH_WERROR=ON \
  -DCMAKE_CXX_STANDARD_LIBRARIES=-static-pie -DOpenMP_gomp_LIBRARY="$(g++ -print-file-name=libgomp.a)" >/dev/null
tool=build/static-tool/tools/orbmath/orbmath
rm -f "$tool"
cmake --build build/static-tool -j "$foreign_jobs" --target orbmath_tool | tee build/static-tool/build.log

# What the C library would load at run time after all (names of hosts and users, character sets), the linker warns of. OpenMP's own
# loading is for graphics processors, which nothing here asks for.
surprises=$(grep "statically linked applications" build/static-tool/build.log | grep -v "Using 'dlopen'" || true)
[ -z "$surprises" ] || { echo "not static: $surprises"; exit 1; }
kind=$(file "$tool")
case $kind in
  *"static-pie linked"*) ;;
  *) echo "not static: $kind" && exit 1 ;;
esac

empty=$(mktemp -d)
trap 'rm -rf "$empty"' EXIT
cp "$tool" examples/data/pushbroom_left.RPB examples/data/pushbroom_left.tif examples/data/control.csv "$empty"
printf '47.30 8.50 410\n47.29 8.47 377.5\n' >"$empty/ground.txt"
printf '8838.75 7240.5 410\n120 33 1200\n' >"$empty/image.txt"
in_root=(chroot "$empty")
[ "$(id -u)" -eq 0 ] || in_root=(unshare -r chroot "$empty")

# both STATUS WORD...: the tool in the empty root and in this one ends by STATUS and says the same.
both() {
  local status=$1 there here
  shift
  there=$("${in_root[@]}" /orbmath "$@" 2>&1; echo "status $?")
  here=$(cd "$empty" && ./orbmath "$@" 2>&1; echo "status $?")
  [ "$there" = "$here" ] || { echo "$*: in an empty root: $there; here: $here"; exit 1; }
  [ "${there##*status }" = "$status" ] || { echo "$*: $there"; exit 1; }
  said=${there%$'\n'*}
}
says() { [[ $said == *"$1"* ]] || { echo "'$1' is missing in: $said"; exit 1; }; }

both 0 --version
both 0 project pushbroom_left.RPB ground.txt --threads 2
projected=$said
both 0 locate pushbroom_left.RPB image.txt --threads 2
both 0 info pushbroom_left.RPB
says "SIMULATED"
both 0 check pushbroom_left.RPB --mirrored
both 0 refine pushbroom_left.RPB control.csv adjusted.xml
both 0 convert pushbroom_left.RPB left.xml
both 0 project left.xml ground.txt
[ "$said" = "$projected" ] || { echo "the converted model projects to $said, the model to $projected"; exit 1; }
both 1 info missing.RPB
says "missing.RPB"
both 1 info pushbroom_left.tif
says "images are opened by GDAL"
says "without which this tool was built"
both 2 projec
says "project"
echo "static tool: $(stat -c %s "$tool") bytes, runs in an empty root: $(head -1 <<<"$projected")"
