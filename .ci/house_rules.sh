#!/usr/bin/env bash
# Rules that no compiler knows. A room that is new is written into the table of arrows below.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
complain() {
  echo "house rule: $1"
  status=1
}

# The umbrella header includes every public header.
while read -r header; do
  name=${header#include/}
  [ "$name" = orbmath.h ] || grep -q "#include \"$name\"" include/orbmath.h || complain "include/orbmath.h leaves out $name"
done < <(git ls-files 'include/*.h')

# Public headers are light: standard headers and the library's own.
git grep -n -E '#include [<"](pugixml|CLI/|omp\.h|gtest|Eigen|immintrin|gdal|ogr|cpl_|nanobind|Python\.h)' -- include 'raster/include' &&
  complain "a public header includes a third-party header"
git grep -n 'using namespace' -- include 'raster/include' && complain "using namespace in a public header"

# Which rooms a room of the core may stand on, itself apart. The file frame/api.h marks exports and is open to all; the
# rest of frame/ itself (start and stop) stands on everything, and nothing stands on it.
core="frame/zxstd frame/sat_data_container linalg poly geometry transform"
declare -A stands_on=(
  [frame/zxstd]=""
  [frame/sat_data_container]="frame/zxstd"
  [linalg]="frame/zxstd frame/sat_data_container"
  [poly]="frame/zxstd frame/sat_data_container linalg"
  [geometry]="frame/zxstd frame/sat_data_container linalg poly"
  [transform]="frame/zxstd frame/sat_data_container linalg poly geometry"
  [rpc]="$core"
  [terrain]="$core rpc"
  [estimation]="$core rpc"
  [refine]="$core rpc estimation"
  [accuracy]="$core rpc estimation refine terrain"
  [block]="$core rpc estimation refine terrain accuracy"
  [stereo]="$core rpc terrain"
  [frame]="$core rpc terrain estimation refine accuracy block stereo"
)

# resolve FILE INCLUDE: sets `path` to the file that the include means, as a path from include/ or src/; empty for none of ours.
resolve() {
  local folder
  path=
  folder=${1%/*}/$2
  while [[ $folder =~ ^(.*/)?[^/.]+/\.\./(.*)$ ]]; do folder=${BASH_REMATCH[1]}${BASH_REMATCH[2]}; done
  if [ -f "$folder" ]; then
    path=${folder#include/}
    path=${path#src/}
  elif [ -f "include/$2" ] || [ -f "src/$2" ]; then
    path=$2
  fi
}

# room_of PATH: sets `room` to the room of a path from include/ or src/.
room_of() {
  case $1 in
    frame/zxstd/*) room=frame/zxstd ;;
    frame/sat_data_container/*) room=frame/sat_data_container ;;
    # Estimation has a folder of its own; its public headers stand beside those of the corrections.
    refine/estimation/* | refine/robust_fit.h | refine/rpc_estimation.h) room=estimation ;;
    */*) room=${1%%/*} ;;
    *) room= ;;
  esac
}

while IFS=: read -r file include; do
  include=${include#*\"}
  include=${include%%\"*}
  # Public headers find each other from where they stand, so that no folder of a host gets in between.
  case $file in include/* | raster/include/*)
    [ -f "${file%/*}/$include" ] || complain "$file includes \"$include\", which is no path from its own folder" ;;
  esac
  case $file in
    include/* | src/*)
      resolve "$file" "$include"
      room_of "$path"
      to=$room
      own=${file#include/}
      room_of "${own#src/}"
      [ -n "$room" ] && [ -n "$to" ] && [ "$path" != frame/api.h ] || continue
      [ -n "${stands_on[$room]+known}" ] || { complain "$file: the room '$room' is not in the table of arrows"; continue; }
      [ "$to" = "$room" ] || [[ " ${stands_on[$room]} " == *" $to "* ]] || complain "$file: $room may not include $to ($path)"
      ;;
    *)
      # Everything outside the library stands on public headers.
      if [ ! -f "${file%/*}/$include" ] && [ ! -f "include/$include" ] && [ -f "src/$include" ]; then
        complain "$file includes the private header $include"
      fi
      ;;
  esac
done < <(git grep -E '^#include "' -- include src raster tools examples benchmarks python fuzz ':!*.md')
# The criteria of stereo pairs stand on the lowest layer alone.
git grep -h -E '^#include "' -- '*/stereo/stereopairs_by_overlap.*' ':!tests' | grep -v -E '"((../)*frame/(zxstd/|api\.h)|(stereo/)?stereopairs_by_overlap)' &&
  complain "the criteria of stereo pairs include more than frame/zxstd"

# Every page is found from where a reader begins: the README and the front page of the reference.
while read -r page; do
  [ "$page" = docs/reference.md ] && continue
  grep -q "($page)" README.md || complain "README.md leaves out $page"
  grep -q "(${page#docs/})" docs/reference.md || complain "docs/reference.md leaves out $page"
done < <(git ls-files 'docs/*.md')

# The page of places names none that is gone. Its paths stand from the root, or from one of the folders below; headers and sources
# of one name go without their suffixes. NAME and ROOM are anybody's, and `build/` is made.
while read -r place; do
  found=
  for folder in "" src/ include/ raster/include/ tools/orbmath/; do
    if compgen -G "$folder$place" >/dev/null || compgen -G "$folder$place.*" >/dev/null; then found=yes; fi
  done
  [ -n "$found" ] || complain "docs/architecture.md names $place, which is not there"
done < <(grep -o '`[^` ]*/[^` ]*`' docs/architecture.md | tr -d '`' | grep -v -e NAME -e ROOM -e '^build/' | sort -u)

# A source begins with what it is for.
while read -r file; do
  [[ $(head -c 2 "$file") == // ]] || complain "$file does not begin with what it is for"
done < <(git ls-files 'src/*.cpp' 'tools/*.cpp' 'raster/src/*.cpp' 'python/src/*.cpp')

# A file of tests is built.
while read -r file; do
  git grep -q -w "${file##*/}" -- '*CMakeLists.txt' || complain "$file is in no CMakeLists.txt"
done < <(git ls-files 'tests/*_test.cpp' 'raster/tests/*_test.cpp')

# A very long file holds more than one idea.
while read -r file; do
  lines=$(wc -l <"$file")
  [ "$lines" -le 500 ] || complain "$file has $lines lines"
done < <(git ls-files '*.h' '*.cpp' '*.sh' '*.py' '*.cmake' '*CMakeLists.txt' .ci/run)

exit $status
