#!/usr/bin/env bash
# Builds library, tool and tests for musl instead of glibc and runs the tests. The compiler is zig's Clang with its own libc++ and musl, from
# the Python index. It has no OpenMP runtime: the library works on one thread here, which changes no result, and
# passes over what only OpenMP's pragmas use.
#
#   bash scripts/check-musl.sh            everything
#   bash scripts/check-musl.sh -R linalg  the same, and hands its arguments to ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
need_packages python3-venv

tools=$PWD/build/musl-tools
if [ ! -x "$tools/cxx" ]; then
  python3 -m venv "$tools/env"
  "$tools/env/bin/pip" install -q ziglang
  mkdir -p "$tools/include"
  # What the library asks of OpenMP, for one thread.
  cat >"$tools/include/omp.h" <<'HEADER'
#pragma once
inline void omp_set_dynamic(int) {}
inline int omp_get_thread_num() { return 0; }
inline int omp_get_num_threads() { return 1; }
inline int omp_get_max_threads() { return 1; }
HEADER
  for language in cc c++; do
    printf '#!/bin/sh\nexec "%s" -m ziglang %s -target x86_64-linux-musl "$@"\n' "$tools/env/bin/python" $language >"$tools/${language/c++/cxx}"
    printf '#!/bin/sh\nexec "%s" -m ziglang ar "$@"\n' "$tools/env/bin/python" >"$tools/ar"
    printf '#!/bin/sh\nexec "%s" -m ziglang ranlib "$@"\n' "$tools/env/bin/python" >"$tools/ranlib"
  done
  chmod +x "$tools"/{cc,ar,ranlib,cxx}
fi

foreign_build musl -DCMAKE_C_COMPILER="$tools/cc" -DCMAKE_CXX_COMPILER="$tools/cxx" -DCMAKE_AR="$tools/ar" -DCMAKE_RANLIB="$tools/ranlib" \
  -DBUILD_SHARED_LIBS=OFF -DOpenMP_CXX_LIB_NAMES= \
  -DOpenMP_CXX_FLAGS="-D_OPENMP=201511 -Wno-unknown-pragmas -Wno-unused-parameter -isystem $tools/include"
# A program without libraries knows of no file that the library is, and a host built by the machine's compiler cannot use this one.
export GTEST_FILTER=-Module.KnowsItsOwnFile:StartWithoutMemory.CountsAndIsUndone
foreign_tests musl -E '^packaging$' "$@"
