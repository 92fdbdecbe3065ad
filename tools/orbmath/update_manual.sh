#!/usr/bin/env bash
# Puts the tool's help texts into docs/tool.md: each block that begins with "$ orbmath ..." gets that command's output.
#
#   bash tools/orbmath/update_manual.sh build/release/tools/orbmath/orbmath
set -euo pipefail
[ $# -eq 1 ] || { sed -n '2,4s/^# \{0,1\}//p' "$0"; exit 2; }
tool=$(realpath "$1")
page=$(dirname "$0")/../../docs/tool.md
new=$(mktemp)
trap 'rm -f "$new"' EXIT
skipping=
while IFS= read -r line; do
  [ -n "$skipping" ] && [ "$line" != '```' ] && continue
  skipping=
  printf '%s\n' "$line"
  if [[ $line == '$ orbmath '* ]]; then
    read -ra arguments <<<"${line#'$ orbmath '}"
    "$tool" "${arguments[@]}"
    skipping=yes
  fi
done <"$page" >"$new"
cat "$new" >"$page"
