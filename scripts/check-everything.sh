#!/usr/bin/env bash
# What takes too long for every change: everything of .ci/run, and beside it Clang's optimised build, static analysis of every file, a static
# library with a host of it, the Debian packages installed and removed, the same bytes from two folders, the tool as one file, longer fuzzing,
# other platforms. Two to four hours on two cores.
#
#   bash scripts/check-everything.sh            check
#   bash scripts/check-everything.sh --record   and note in .ci/analysed what the static analysis has passed
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

bash .ci/run

echo "== Clang, optimised"
cmake --preset clang >/dev/null
cmake --build --preset clang
ctest --preset clang --parallel "$(nproc)"

echo "== static analysis of every file"
python3 scripts/analyse.py --all "$@" build/sanitize

echo "== a static library and its hosts"
bash scripts/check-static.sh

echo "== Debian packages"
bash scripts/package.sh

echo "== the same bytes from two folders"
bash scripts/check-reproducible.sh

echo "== the tool as one file"
bash scripts/check-static-tool.sh

echo "== benchmarks build"
need_packages libbenchmark-dev
cmake --preset bench >/dev/null
cmake --build --preset bench

echo "== readers fuzzed"
bash fuzz/run.sh build/sanitize 120

echo "== other platforms (docs/platforms.md has the results)"
failed=()
for platform in libcxx i686 windows aarch64 musl; do
  echo "-- $platform ($(date +%T))"
  bash "scripts/check-$platform.sh" || failed+=("$platform")
done
[ ${#failed[@]} -eq 0 ] || { echo "== FAILED on: ${failed[*]}"; exit 1; }

echo "== done: $(date +%F), $(git rev-parse --short HEAD)"
