#!/usr/bin/env bash
# Shows the main job on the simulated stereo pair that ships with the project: ground to image, image to ground,
# two images to one ground point, a correction from control points, and a plain model to hand on. On a fresh Debian 12
# machine it first installs what is missing and builds.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

use_ccache
need_packages "${BUILD_PACKAGES[@]}" "${RASTER_PACKAGES[@]}"
# Where the tests' build stands, it has the tool too.
preset=demo
[ ! -f build/release/build.ninja ] || preset=release
cmake --preset "$preset" -DORBMATH_BUILD_EXAMPLES=ON >/dev/null
cmake --build --preset "$preset" --target orbmath_tool example_orthoimage >/dev/null

orbmath=$PWD/build/$preset/tools/orbmath/orbmath
mkdir -p build/demo/walk
cp examples/data/pushbroom_left.RPB build/demo/walk/left.RPB
cp examples/data/pushbroom_right.RPB build/demo/walk/right.RPB
cd build/demo/walk

say() { printf '\n%s\n' "$*"; }
show() { printf '$ orbmath %s\n' "$*"; "$orbmath" "$@"; }

say "1. A model: one of two images of a scene of 16,000 x 16,000 pixels, simulated with this library.
   Read in it: the last lines say how exact the model is, both ways, over its whole ground box."
show info left.RPB | sed -n '1,3p;/^Over/,$p'

say "2. Ground to image: latitude, longitude, height in; line and sample out."
cat >ground.txt <<'POINTS'
47.3000 8.5000 410   # town hall
47.3200 8.4500 520   # mast on the hill
47.2700 8.5300 400   # quay
POINTS
show project left.RPB ground.txt
show project right.RPB ground.txt

say "3. Two images to one ground point: the image points of step 2 give the ground points back.
   Read in it: the fourth column is how far, in pixels, the lines of sight pass from each other."
paste -d ' ' <("$orbmath" project left.RPB ground.txt | sed 's/ *#.*//') <("$orbmath" project right.RPB ground.txt) >pairs.txt
show intersect left.RPB right.RPB --points pairs.txt

say "4. Image to ground at a known height, with the residual and how the search ended.
   Read in it: the second point lies off the image; it is computed, and marked."
printf '8000 8000 400\n20000 8000 400\n' >image.txt
show locate left.RPB image.txt --status

say "5. A correction: nine control points that sit 2.3 lines and -1.7 samples off; the fifth is badly measured.
   Read in it: the bad point is named and left out, and the others fit."
awk 'BEGIN { for (i = 0; i < 3; ++i) for (j = 0; j < 3; ++j) print 47.26 + 0.045 * i, 8.42 + 0.07 * j, 380 + 30 * (i + j) }' \
  >control_ground.txt
"$orbmath" project left.RPB control_ground.txt | paste -d ' ' control_ground.txt - |
  awk '{ print $1, $2, $3, $4 + 2.3, $5 - 1.7 + (NR == 5 ? 30 : 0) }' OFMT=%.3f >control.txt
show refine left.RPB control.txt adjusted.xml --type shift

say "6. A plain model that carries the correction, for programs that know nothing of it.
   Read in it: compared with step 2, every line is 2.3 larger and every sample 1.7 smaller."
show export adjusted.xml corrected.RPB
show project corrected.RPB ground.txt

say "7. From image to map: a small image of this scene with a mountain in it is simulated, with a straight grid on the ground.
   Read in it: on orthoimage_flat.png, made with one height for all, the mountain bends the grid; on orthoimage.png, made
   with the terrain, it is straight. The README shows both."
../../"$preset"/examples/example_orthoimage

say "Files of this walk: build/demo/walk"
