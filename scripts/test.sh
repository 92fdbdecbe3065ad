#!/usr/bin/env bash
# Builds everything and runs all tests. On a fresh Debian 12 machine it first installs what is missing.
#
#   bash scripts/test.sh            build and test
#   bash scripts/test.sh -R linalg  the same, and hands its arguments to ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

use_ccache
need_packages "${BUILD_PACKAGES[@]}" "${RASTER_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release --parallel "$(nproc)" "$@"
# With arguments, which are ctest's, the Python package stays out.
[ $# -gt 0 ] || bash scripts/test_python.sh
bash scripts/left_out.sh build/release
