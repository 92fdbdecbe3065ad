#!/usr/bin/env bash
# Puts what commands print into docs/tool.md and docs/tool-help.md: below each line that begins with "$ " in a block of a page comes
# what that command prints, errors too. The commands run in a copy of examples/data, one after the other.
#
#   bash tools/orbmath/update_manual.sh build/release/tools/orbmath/orbmath
set -euo pipefail
[ $# -eq 1 ] || { sed -n '2,5s/^# \{0,1\}//p' "$0"; exit 2; }
tool=$(realpath "$1")
root=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$root/examples/data" "$work/data"
mkdir "$work/bin"
ln -s "$tool" "$work/bin/orbmath"
export PATH=$work/bin:$PATH
cd "$work/data"
for page in "$root/docs/tool.md" "$root/docs/tool-help.md"; do
  skipping=
  while IFS= read -r line; do
    [ -n "$skipping" ] && [ "$line" != '```' ] && continue
    skipping=
    printf '%s\n' "$line"
    if [[ $line == '$ '* ]]; then
      bash -c "${line#'$ '}" 2>&1 </dev/null || true
      skipping=yes
    fi
  done <"$page" >"$work/page"
  cat "$work/page" >"$page"
done
