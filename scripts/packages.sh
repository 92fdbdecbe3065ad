# Sourced by the scripts that build: `need_packages name...` installs those Debian packages that are missing, `use_ccache` turns
# ccache on.
# shellcheck shell=bash

need_packages() {
  local missing=() package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null)" = 'install ok installed' ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}"
  local root=()
  [ "$(id -u)" -eq 0 ] || root=(sudo)
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# What every build of the library and its tool needs.
export BUILD_PACKAGES=(g++ cmake ninja-build libpugixml-dev libeigen3-dev libcli11-dev)
# What OrbmathRaster needs on top: images and elevation models.
export RASTER_PACKAGES=(libgdal-dev)
# What the tests need on top.
export TEST_PACKAGES=(libgtest-dev locales pkgconf)
# What .ci/run and the checks need on top; Chromium opens the pages of `--html`.
export CHECK_PACKAGES=(clang clang-format clang-tidy libomp-dev doxygen python3 chromium fonts-dejavu-core)

# use_ccache: builds keep their objects for the next time where ccache is installed. Precompiled headers need its permission.
use_ccache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}
}
