#!/usr/bin/env bash
# Builds library, tool and tests for 32-bit x86 with SSE2 and runs the tests on this machine.
#
#   bash scripts/check-i686.sh            everything
#   bash scripts/check-i686.sh -R linalg  the same, and hands its arguments to ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
use_ccache
need_packages g++-i686-linux-gnu

foreign_build i686 -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/i686.cmake"
foreign_tests i686 "$@"
