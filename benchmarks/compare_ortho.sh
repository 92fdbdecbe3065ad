#!/usr/bin/env bash
# Pixels per second of `orbmath ortho` beside `gdalwarp -rpc -et 0`, as whole processes: the same image, model, DEM, kernel, map
# and creation options (tiled, no compression), on one thread and on two.
#
#   bash benchmarks/compare_ortho.sh TOOL MODEL [SIZE]
#
# TOOL is the built orbmath, MODEL a model file of any form with its image's size or range, SIZE the number of columns
# and rows of the map (default 6000) in the middle of the image. The image is noise, the DEM hills. Needs the package
# gdal-bin. Each figure is the best of three runs; the time of the processors stands beside, for machines with other
# work on them.
set -euo pipefail

[ $# -ge 2 ] || { sed -n '2,9s/^# \{0,1\}//p' "$0"; exit 2; }
tool=$(realpath "$1") model=$(realpath "$2") size=${3:-6000}
command -v gdalwarp >/dev/null || { echo "gdalwarp is not installed (Debian: gdal-bin)" >&2; exit 1; }
export LC_ALL=C GDAL_PAM_ENABLED=NO
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$tool" convert "$model" image.RPB
"$tool" info image.RPB --json >info.json
value() { sed "s/.*\"$1\":\([-0-9.e+]*\).*/\1/" info.json; }
lat=$(value latOffset) lon=$(value longOffset) height=$(value heightOffset)
whole() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%d", a + b }'; }
lines=$(whole "$(value lineOffset)" "$(value lineScale)") samples=$(whole "$(value sampOffset)" "$(value sampScale)")

# Noise of 16 bits, as a raw file that GDAL copies into a tiled TIFF; its two bytes keep below 2 ^ 15.
head -c $((2 * lines * samples)) /dev/urandom >noise.raw
printf 'ENVI\nsamples = %s\nlines = %s\nbands = 1\nheader offset = 0\nfile type = ENVI Standard\ndata type = 12\ninterleave = bsq\nbyte order = 0\n' \
  "$samples" "$lines" >noise.hdr
gdal_translate -q -co TILED=YES noise.raw image.tif
rm noise.*

# Hills of 300 m on a grid of 3 arc seconds.
awk -v lat="$lat" -v lon="$lon" -v h="$height" 'BEGIN {
  n = 601; step = 1 / 1200
  printf "ncols %d\nnrows %d\nxllcenter %.12f\nyllcenter %.12f\ncellsize %.15f\n", n, n, lon - 300 * step, lat - 300 * step, step
  for (r = 0; r < n; ++r) for (c = 0; c < n; ++c) printf "%.2f%s", h + 150 * sin(r / 7) * cos(c / 9), c + 1 < n ? " " : "\n"
}' >hills.asc
gdal_translate -q -ot Float32 -a_srs EPSG:4326 hills.asc dem.tif

# The map: UTM, its middle that of the model, its pixels seven tenths of the image's: gdalwarp widens its kernels where
# it takes the map for coarser than the image, by the windows' sizes, which would be another work.
"$tool" ortho image.tif whole.tif --dem dem.tif --geoid none --resolution 100 2>chosen.txt
crs=$(sed -n 's/.*reference system \(EPSG:[0-9]*\).*/\1/p' chosen.txt)
rm whole.tif
resolution=$("$tool" grid image.tif one.npy --map --dem dem.tif --geoid none --bounds 0 0 1 1 2>&1 | sed -n 's/.*resolution \([0-9.e-]*\),.*/\1/p' | awk '{ print 0.7 * $1 }')
read -r x y < <(printf '%s %s\n' "$lon" "$lat" | gdaltransform -s_srs EPSG:4326 -t_srs "$crs" -output_xy | sed 's/\.[0-9]*//g')
bounds=$(awk -v x="$x" -v y="$y" -v s="$size" -v r="$resolution" 'BEGIN { d = s * r / 2; printf "%.3f %.3f %.3f %.3f", x - d, y - d, x + d, y + d }')
read -ra te <<<"$bounds"

# best_of COMMAND...: seconds on the clock and of the processors, of the fastest of three runs.
TIMEFORMAT='%R %U %S'
best_of() {
  local best="" times
  for _ in 1 2 3; do
    times=$({ time "$@" >/dev/null 2>&1; } 2>&1)
    best=$(printf '%s\n%s\n' "$best" "$times" | awk 'NF == 3 && (!n++ || $1 < r) { r = $1; c = $2 + $3 } NF == 2 { r = $1; c = $2; n = 1 } END { print r, c }')
  done
  echo "$best"
}

pixels() { gdal_translate -q -of ENVI "$1" "$2" && rm -f "$2".hdr "${2%.*}".hdr; }

printf '%s x %s pixels of %s m, %s\n' "$size" "$size" "$resolution" "$crs"
printf '%-10s %-8s %14s %14s %8s %16s   %s\n' kernel threads "orbmath Mpx/s" "gdalwarp Mpx/s" ratio "of processors" "other values"
for kernel in ${KERNELS:-nearest bilinear cubic lanczos}; do
  theirs=$kernel
  [ "$kernel" != nearest ] || theirs=near
  for threads in 1 2; do
    read -r a ca < <(best_of "$tool" ortho image.tif ours.tif --dem dem.tif --geoid none --crs "$crs" --resolution "$resolution" \
      --bounds "${te[@]}" --resampling "$kernel" --nodata 0 --threads "$threads")
    read -r b cb < <(best_of gdalwarp -q -overwrite -rpc -et 0 -to RPC_DEM=dem.tif -to RPC_DEMINTERPOLATION=bilinear -t_srs "$crs" \
      -te "${te[@]}" -tr "$resolution" "$resolution" -r "$theirs" -dstnodata 0 -co TILED=YES -multi -wo NUM_THREADS="$threads" image.tif gdal.tif)
    pixels ours.tif ours.raw
    pixels gdal.tif gdal.raw
    other=$({ cmp -l ours.raw gdal.raw || true; } | awk '{ v = int(($1 - 1) / 2) } !n || v != l { ++n } { l = v } END { print n + 0 }')
    awk -v k="$kernel" -v t="$threads" -v n="$((size * size))" -v a="$a" -v b="$b" -v ca="$ca" -v cb="$cb" -v o="$other" 'BEGIN {
      printf "%-10s %-8s %14.2f %14.2f %8.1f %16.1f   %.4f %%\n", k, t, n / a / 1e6, n / b / 1e6, b / a, cb / ca, 100 * o / n }'
  done
done
