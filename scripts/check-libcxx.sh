#!/usr/bin/env bash
# Builds library, tool and tests by Clang with LLVM's own C++ library and runs the tests.
#
#   bash scripts/check-libcxx.sh            everything
#   bash scripts/check-libcxx.sh -R linalg  the same, and hands its arguments to ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
use_ccache
need_packages clang libc++-dev libc++abi-dev libomp-dev

foreign_build libcxx -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-stdlib=libc++
foreign_tests libcxx "$@"
