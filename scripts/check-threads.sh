#!/usr/bin/env bash
# The thread sanitizer over whatever starts threads: arrays, products, the tool's ring of blocks. Clang's OpenMP runtime says
# through its Archer plug-in where threads wait for each other, so that nothing has to be suppressed.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
use_ccache
need_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" clang libomp-dev

# Programs, and which of their tests: those where threads meet. Under the sanitizer the others take minutes and show nothing.
declare -A filters=(
  [planted_race]=''
  [frame]='*Thread*'
  [linalg]='*Products*:NormalEquations*:Cholesky*:Gauss*:Solvers*'
  [rpc]='*Array*:*Thread*'
  [refine]='AdjustedRPC.*:*Thread*'
  [terrain]='*Thread*'
  [accuracy]='*Thread*'
  [block]='*Thread*'
  [tool]='StreamsTest.*'
)
cmake --preset tsan -DORBMATH_BUILD_RASTER=OFF >/dev/null
targets=$(ninja -C build/tsan -t targets all)
present=()
for room in "${!filters[@]}"; do
  target=test_$room
  [ "$room" != planted_race ] || target=planted_race
  grep -q "^$target: phony" <<<"$targets" && present+=("$target")
done
cmake --build --preset tsan --target "${present[@]}"
# Clang 14 cannot place its shadow memory where the kernel scatters addresses widely; some containers do not let us ask for less.
still=()
setarch -R true 2>/dev/null && still=(setarch -R)
for target in "${present[@]}"; do
  room=${target#test_}
  if [ "$room" != planted_race ]; then
    # Taken whole before it is searched: a search that ends at its first find would break the program's pipe.
    tests=$("${still[@]}" "build/tsan/tests/$room/test_$room" --gtest_filter="${filters[$room]}" --gtest_list_tests) ||
      { echo "test_$room does not list its tests"; exit 1; }
    grep -q '^  ' <<<"$tests" || { echo "test_$room has no test where threads meet: the filter in $0 is behind"; exit 1; }
  fi
  GTEST_FILTER=${filters[$room]:-*} "${still[@]}" ctest --preset tsan -R "^$room\$"
done
