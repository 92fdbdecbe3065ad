#!/usr/bin/env bash
# Installs the build into a fresh prefix, builds and runs hosts of it, and takes it away again:
# install_and_consume.sh BUILD_DIRECTORY CONSUMER_DIRECTORY EXAMPLES_DIRECTORY
set -euo pipefail
build=$1
consumer=$2
examples=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
# An installed tree can be moved.
mv "$work/first" "$work/moved"
prefix=$work/moved

cmake -G Ninja -S "$consumer" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
cmake --build "$work/by_cmake" >/dev/null
"$work/by_cmake/consumer_AFTER"
"$work/by_cmake/consumer_BEFORE"

# The examples alone.
cmake -G Ninja -S "$examples" -B "$work/examples" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
cmake --build "$work/examples" >/dev/null
(cd "$work/examples" && ctest --output-on-failure)

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orbmath.pc)")
export PKG_CONFIG_PATH
# Words: such as -stdlib=libc++, which library and host must agree on. CMake has taken them from the environment.
read -ra flags <<<"${CXXFLAGS:-}"
strict=("${flags[@]}" -std=c++17 -O2 -march=native -Wall -Wextra -Wpedantic -Werror)
# shellcheck disable=SC2046 # the flags are words
"$CXX" "${strict[@]}" $("$PKG_CONFIG" --cflags orbmath) -I "$consumer/own" "$consumer"/*.cpp -o "$work/by_pkg_config" \
  $("$PKG_CONFIG" --libs orbmath)
LD_LIBRARY_PATH=$("$PKG_CONFIG" --variable=libdir orbmath) "$work/by_pkg_config"

# Hosts that name the folder of the headers themselves: it alone, also behind headers of their own.
headers=$(dirname "$(find "$prefix" -name orbmath.h)")
printf '#include <orbmath.h>\n#include <rpc/rpc_model.h>\n' >"$work/plain.cpp"
"$CXX" "${strict[@]}" -fsyntax-only -I "$headers" "$work/plain.cpp"
"$CXX" "${strict[@]}" -fsyntax-only -I "$consumer/own" -I "$headers" "$work/plain.cpp"

if [ -x "$prefix/bin/orbmath" ]; then "$prefix/bin/orbmath" --version; fi

# What was installed can be taken away, and nothing else goes with it.
mkdir -p "$work/second/include"
echo "of somebody else" >"$work/second/include/other.h"
cmake --install "$build" --prefix "$work/second" >/dev/null
cmake --build "$build" --target uninstall >/dev/null
left=$(cd "$work/second" && find . -type f -o -path '*rbmath*')
[ "$left" = ./include/other.h ] || { echo "left after uninstall: $left"; exit 1; }
