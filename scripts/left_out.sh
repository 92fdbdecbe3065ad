#!/usr/bin/env bash
# Says which tests of the last run of ctest were left out, and why: left_out.sh BUILD_DIRECTORY
# A test program that lacks its data, a locale or a device passes; without this nobody would know.
set -euo pipefail
log=$1/Testing/Temporary/LastTest.log
[ -f "$log" ] || { echo "No tests were run in $1"; exit 1; }

# GoogleTest: "FILE:LINE: Skipped", the reason, "[  SKIPPED ] NAME (0 ms)". The tests' own: "[ LEFT OUT ] REASON". pytest -rs: "SKIPPED
# [COUNT] FILE:LINE: REASON". ctest itself: "Test Skipped" after a status that a test reserves for it.
awk '
  /: Skipped$/ { getline reason; next }
  /^\[  SKIPPED \] .* \([0-9]+ ms\)$/ { ++count[reason]; names[reason] = names[reason] " " $4; next }
  /^\[ LEFT OUT \] / { sub(/^\[ LEFT OUT \] /, ""); ++count[$0]; next }
  /^SKIPPED \[[0-9]+\] / { n = substr($2, 2) + 0; sub(/^SKIPPED \[[0-9]+\] [^ ]+ /, ""); count[$0] += n; next }
  /^Test Skipped\.$/ { ++count["the test says that it cannot run here"]; next }
  END {
    for (reason in count) {
      total += count[reason]
      printf "Left out %d: %s%s\n", count[reason], reason, (length(names[reason]) < 200 ? names[reason] ? " (" substr(names[reason], 2) ")" : "" : "")
    }
    if (!total) print "No test was left out"
  }' "$log"
