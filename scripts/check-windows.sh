#!/usr/bin/env bash
# Builds library, tool and tests for 64-bit Windows by MinGW-w64 and runs the tests under Wine.
#
#   bash scripts/check-windows.sh            everything
#   bash scripts/check-windows.sh -R linalg  the same, and hands its arguments to ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/foreign.sh
use_ccache
need_packages g++-mingw-w64-x86-64-posix wine64

foreign_build windows -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/windows.cmake"
# Where Wine keeps its own state, and where programs find the libraries: ours, the compiler's, the threads'.
runtime=$(dirname "$(realpath "$(x86_64-w64-mingw32-g++-posix -print-file-name=libgomp-1.dll)")")
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all WINEPATH="Z:$PWD/build/windows/src;Z:$runtime;Z:/usr/x86_64-w64-mingw32/lib"
mkdir -p "$WINEPREFIX"
# Temporary files lie on the drive of the sources and the data, so that names without a drive mean the same everywhere.
for name in TEMP TMP; do
  /usr/lib/wine/wine64 reg add 'HKCU\Environment' /v $name /d "Z:${PWD//\//\\}\\build\\wine-temporary" /f >/dev/null
done
mkdir -p build/wine-temporary
foreign_tests windows "$@"
