#!/usr/bin/env bash
# Rules that no compiler knows.
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
git grep -n -E '#include [<"](pugixml|CLI/|omp\.h|gtest|Eigen|immintrin)' -- include && complain "a public header includes a third-party header"
git grep -n 'using namespace' -- include && complain "using namespace in a public header"

# Public headers find each other from where they stand, so that no folder of a host gets in between.
while IFS=: read -r header include; do
  include=${include#*\"}
  [ -f "$(dirname "$header")/${include%%\"*}" ] || complain "$header includes \"${include%%\"*}\", which is no path from its own folder"
done < <(git grep -E '^#include "' -- 'include/*.h')

# Includes point downwards only.
rooms=(frame/zxstd frame/sat_data_container linalg poly geometry transform rpc terrain refine)
for i in "${!rooms[@]}"; do
  for j in "${!rooms[@]}"; do
    [ "$j" -gt "$i" ] || continue
    git grep -n -E "#include \"(\.\./)*${rooms[$j]}/" -- "include/${rooms[$i]}" "src/${rooms[$i]}" && complain "${rooms[$i]} includes upwards"
  done
done

# A very long file holds more than one idea.
while read -r file; do
  lines=$(wc -l <"$file")
  [ "$lines" -le 560 ] || complain "$file has $lines lines"
done < <(git ls-files '*.h' '*.cpp' '*.sh')

exit $status
