#!/usr/bin/env bash
# Lines per second of the tool beside gdaltransform, as whole processes, both ways, with the same model and points.
#
#   bash benchmarks/compare_tool.sh TOOL MODEL [LINES]
#
# TOOL is the built orbmath, MODEL a model file of any form, LINES the number of points (default 1,000,000). Needs the
# package gdal-bin. Points lie inside the model's ground box; each figure is the best of three runs.
set -euo pipefail

[ $# -ge 2 ] || { sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 2; }
tool=$(realpath "$1") model=$(realpath "$2") lines=${3:-1000000}
command -v gdaltransform >/dev/null || { echo "gdaltransform is not installed (Debian: gdal-bin)" >&2; exit 1; }
export LC_ALL=C GDAL_PAM_ENABLED=NO
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# GDAL finds the model as the RPB file beside an image.
"$tool" convert "$model" image.RPB
gdal_create -q -of GTiff -outsize 16 16 -bands 1 image.tif >/dev/null

"$tool" info image.RPB --json >info.json
value() { sed "s/.*\"$1\":\([-0-9.e+]*\).*/\1/" info.json; }
awk -v n="$lines" -v lat="$(value latOffset)" -v lon="$(value longOffset)" -v h="$(value heightOffset)" \
  -v dlat="$(value latScale)" -v dlon="$(value longScale)" -v dh="$(value heightScale)" '
  function within(offset, scale) { return offset + scale * 0.9 * (2 * rand() - 1) }
  BEGIN { srand(1); for (i = 0; i < n; ++i) printf "%.9f %.9f %.3f\n", within(lat, dlat), within(lon, dlon), within(h, dh) }
  ' >ground.txt
awk '{ print $2, $1, $3 }' ground.txt >ground_gdal.txt
"$tool" project image.RPB ground.txt | paste -d' ' - <(cut -d' ' -f3 ground.txt) >image.txt
awk '{ printf "%.6f %.6f %s\n", $2 + 0.5, $1 + 0.5, $3 }' image.txt >image_gdal.txt

# best_of INPUT OUTPUT COMMAND...: seconds of the fastest of three runs.
best_of() {
  local input=$1 output=$2 best=1e9 begin end
  shift 2
  for _ in 1 2 3; do
    begin=$EPOCHREALTIME
    "$@" <"$input" >"$output" 2>/dev/null
    end=$EPOCHREALTIME
    best=$(awk -v a="$begin" -v b="$end" -v best="$best" 'BEGIN { t = b - a; print t < best ? t : best }')
  done
  echo "$best"
}

row() { # name, seconds of the tool, seconds of gdaltransform, largest difference
  awk -v name="$1" -v a="$2" -v b="$3" -v n="$lines" -v d="$4" 'BEGIN {
    printf "%-22s %12.0f %14.0f %8.1f   %s\n", name, n / a, n / b, b / a, d }'
}

printf '%-22s %12s %14s %8s   %s\n' "lines a second" orbmath gdaltransform ratio "largest difference"
ours=$(best_of ground.txt ours.txt "$tool" project image.RPB)
theirs=$(best_of ground_gdal.txt theirs.txt gdaltransform -i -rpc image.tif)
difference=$(paste -d' ' ours.txt theirs.txt | awk '
  { a = $1 - $4 + 0.5; b = $2 - $3 + 0.5; a *= a; b *= b; d = a > b ? a : b; if (d > m) m = d } END { printf "%.1e px", sqrt(m) }')
row "ground to image" "$ours" "$theirs" "$difference"
ours=$(best_of image.txt ours.txt "$tool" locate image.RPB)
theirs=$(best_of image_gdal.txt theirs.txt gdaltransform -rpc image.tif)
difference=$(paste -d' ' ours.txt theirs.txt | awk '
  { a = $1 - $5; b = $2 - $4; a *= a; b *= b; d = a > b ? a : b; if (d > m) m = d } END { printf "%.1e deg (its iteration stops at 0.1 px)", sqrt(m) }')
row "image to ground" "$ours" "$theirs" "$difference"

# The same points as tables, beside the plain lines of the tool itself.
awk '{ printf "P%d,%s,%s,%s,seen\n", NR, $1, $2, $3 }' ground.txt | sed '1i id,lat,lon,height,remark' >ground.csv
plain=$(best_of ground.txt ours.txt "$tool" project image.RPB)
for form in csv json geojson; do
  table=$(best_of ground.csv table.txt "$tool" project image.RPB --$form)
  awk -v form="$form" -v a="$table" -v b="$plain" -v n="$lines" 'BEGIN {
    printf "%-22s %12.0f %14.0f %8.2f   (second column: plain lines)\n", "CSV to " form, n / a, n / b, b / a }'
done
