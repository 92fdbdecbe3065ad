#!/usr/bin/env bash
# Runs every fuzz target for a while: fuzz/run.sh BUILD_DIRECTORY [SECONDS]. What a target finds lands in
# BUILD_DIRECTORY/fuzz/found; the sources' corpus is only read.
set -euo pipefail
build=$(realpath "$1")
seconds=${2:-60}
here=$(realpath "$(dirname "$0")")
mkdir -p "$build/fuzz/found"

# Every source of a target has its program: a build without them, or with some of them, found nothing for want of looking.
for source in "$here"/*.cpp; do
  target=$build/fuzz/fuzz_$(basename "$source" .cpp)
  [ -x "$target" ] || { echo "$target is not built (cmake --preset sanitize && cmake --build --preset sanitize)" >&2; exit 1; }
done

for target in "$build"/fuzz/fuzz_*; do
  [ -x "$target" ] && [ -f "$target" ] || continue
  name=$(basename "$target")
  name=${name#fuzz_}
  corpus=$(mktemp -d)
  arguments=("$corpus")
  [ -d "$here/corpus/$name" ] && arguments+=("$here/corpus/$name")
  [ -f "$here/$name.dict" ] && arguments+=("-dict=$here/$name.dict")
  echo "fuzz_$name: $seconds s"
  "$target" "${arguments[@]}" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=0 \
    -verbosity=0 -artifact_prefix="$build/fuzz/found/$name-" || { echo "fuzz_$name found a fault"; exit 1; }
  rm -rf "$corpus"
done
