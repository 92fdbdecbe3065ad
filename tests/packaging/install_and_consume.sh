#!/usr/bin/env bash
# Installs the build into a fresh prefix, then builds and runs a host of it in two ways:
# install_and_consume.sh BUILD_DIRECTORY CONSUMER_DIRECTORY
set -euo pipefail
build=$1
consumer=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
# An installed tree can be moved.
mv "$work/first" "$work/moved"
prefix=$work/moved

cmake -G Ninja -S "$consumer" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
cmake --build "$work/by_cmake" >/dev/null
"$work/by_cmake/consumer"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orbmath.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # the flags are words
"$CXX" -std=c++17 -O2 -march=native -Wall -Wextra -Wpedantic -Werror "$consumer"/*.cpp -o "$work/by_pkg_config" \
  $("$PKG_CONFIG" --cflags --libs orbmath)
LD_LIBRARY_PATH=$("$PKG_CONFIG" --variable=libdir orbmath) "$work/by_pkg_config"

if [ -x "$prefix/bin/orbmath" ]; then "$prefix/bin/orbmath" --version; fi
