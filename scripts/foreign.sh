# Sourced by the checks of other platforms than Debian's own. `foreign_libraries NAME CMAKE_ARGUMENT...` builds what the project stands on
# (pugixml, GoogleTest, CLI11) for one of them from Debian's sources and sets `foreign_prefix` to where CMake finds it;
# `foreign_build NAME CMAKE_ARGUMENT...` builds that, library, tool and tests in build/NAME, all without a warning;
# `foreign_tests NAME CTEST_ARGUMENT...` runs the tests and says what was left out.
# shellcheck shell=bash
# shellcheck source=scripts/packages.sh
source scripts/packages.sh

# How many compilers run at a time.
foreign_jobs=${ORBMATH_JOBS:-$(nproc)}

# The sources of pugixml, through apt and a list of its own, so that the machine's lists stay as they are.
fetch_pugixml() {
  local folder=$PWD/build/foreign/apt
  [ -z "$(ls -d build/foreign/apt/pugixml-*/ 2>/dev/null)" ] || return 0
  need_packages dpkg-dev ca-certificates
  mkdir -p "$folder/lists/partial"
  echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian bookworm main" >"$folder/sources.list"
  local apt=(-o Dir::Etc::sourcelist="$folder/sources.list" -o Dir::Etc::sourceparts=- -o Dir::State::lists="$folder/lists"
    -o APT::Sandbox::User=)
  (cd "$folder" && apt-get "${apt[@]}" update -qq && apt-get "${apt[@]}" source -qq pugixml >/dev/null)
}

foreign_libraries() {
  local name=$1 source build
  shift
  need_packages cmake ninja-build googletest libcli11-dev libeigen3-dev
  fetch_pugixml
  foreign_prefix=$PWD/build/foreign/$name
  for source in build/foreign/apt/pugixml-*/ /usr/src/googletest; do
    build=build/foreign/build-$name-$(basename "$source")
    cmake -G Ninja -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$foreign_prefix" \
      -DCMAKE_POSITION_INDEPENDENT_CODE=ON -DBUILD_GMOCK=OFF -DPUGIXML_BUILD_TESTS=OFF "$@" >/dev/null
    cmake --build "$build" -j "$foreign_jobs" >/dev/null
    cmake --install "$build" >/dev/null
  done
  # CLI11 is headers only; away from /usr/include, they do not bring the machine's own headers with them. Those of Eigen stand
  # in a folder of their own.
  mkdir -p "$foreign_prefix/include" "$foreign_prefix/lib/cmake/CLI11"
  cp -r /usr/include/CLI "$foreign_prefix/include/"
  cat >"$foreign_prefix/lib/cmake/CLI11/CLI11Config.cmake" <<'CONFIG'
if(NOT TARGET CLI11::CLI11)
  add_library(CLI11::CLI11 INTERFACE IMPORTED)
  set_target_properties(CLI11::CLI11 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}/../../../include")
endif()
CONFIG
}

foreign_build() {
  local name=$1
  shift
  foreign_libraries "$name" "$@"
  cmake -G Ninja -S . -B "build/$name" -DEigen3_DIR=/usr/share/eigen3/cmake -DCMAKE_PREFIX_PATH="$foreign_prefix" -DCMAKE_BUILD_TYPE=Release -DORBMATH_BUILD_TESTS=ON \
    -DORBMATH_BUILD_RASTER=OFF -DORBMATH_WERROR=ON "$@" >/dev/null
  cmake --build "build/$name" -j "$foreign_jobs" -- -k 0
}

foreign_tests() {
  local name=$1
  shift
  ctest --test-dir "build/$name" --output-on-failure --parallel "$foreign_jobs" "$@"
  bash scripts/left_out.sh "build/$name"
}
