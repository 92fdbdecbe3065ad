# Sourced by the scripts that build: `need_packages name...` installs those Debian packages that are missing.
# shellcheck shell=bash

need_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}"
  local root=()
  [ "$(id -u)" -eq 0 ] || root=(sudo)
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# What every build of the library and its tool needs.
export BUILD_PACKAGES=(g++ cmake ninja-build libpugixml-dev libcli11-dev)
# What OrbmathRaster needs on top: images and elevation models.
export RASTER_PACKAGES=(libgdal-dev)
# What the tests need on top.
export TEST_PACKAGES=(libgtest-dev locales pkgconf)
