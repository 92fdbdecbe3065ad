#!/usr/bin/env bash
# Builds and installs the static library, and runs a host of it that comes through CMake and one that comes through pkg-config.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
use_ccache
need_packages "${BUILD_PACKAGES[@]}" pkgconf

cmake -G Ninja -S . -B build/static -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DORBMATH_BUILD_RASTER=OFF >/dev/null
cmake --build build/static
PKG_CONFIG=$(command -v pkg-config) CXX=${CXX:-g++} bash tests/packaging/install_and_consume.sh "$PWD/build/static" \
  "$PWD/tests/packaging/consumer" "$PWD/examples"
