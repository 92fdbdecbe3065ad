#!/usr/bin/env bash
# Builds library, tool and tests for 64-bit ARM and runs the tests under qemu.
#
#   bash scripts/check-aarch64.sh            everything
#   bash scripts/check-aarch64.sh -R linalg  the same, and hands its arguments to ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
use_ccache
need_packages g++-aarch64-linux-gnu qemu-user-static

foreign_build aarch64 -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/aarch64.cmake"
foreign_tests aarch64 "$@"
