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

toolchain=$PWD/cmake/toolchains/aarch64.cmake
foreign_libraries aarch64 -DCMAKE_TOOLCHAIN_FILE="$toolchain"
cmake -G Ninja -S . -B build/aarch64 -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_PREFIX_PATH="$foreign_prefix" \
  -DCMAKE_BUILD_TYPE=Release -DORBMATH_BUILD_TESTS=ON -DORBMATH_BUILD_RASTER=OFF -DORBMATH_WERROR=ON >/dev/null
cmake --build build/aarch64 -j "$foreign_jobs" -- -k 0
ctest --test-dir build/aarch64 --output-on-failure --parallel "$foreign_jobs" "$@"
bash scripts/left_out.sh build/aarch64
