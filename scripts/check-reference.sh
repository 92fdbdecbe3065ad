#!/usr/bin/env bash
# Makes the reference of the public headers in build/reference/html and fails for whatever has no words there. Copies, moves, the
# opposite of a comparison and the types that a template is made for say nothing that their class or twin does not.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
need_packages doxygen
twins='operator=\(|operator!=|Member (T?[A-Za-z0-9_]+)\((const )?\1 ?&&?[ )a-z]*|Member WriteS\(const std::string &, const [a-z:]+ ?[a-z]* ?[a-z]* ?&\)'
findings=$(doxygen docs/Doxyfile 2>&1 | grep -vE "$twins" || true)
[ -z "$findings" ] || { echo "$findings"; exit 1; }
