#!/usr/bin/env bash
# Installs the Debian packages of build/package by dpkg, uses them as their users do, and removes them. This happens in a root of its own:
# the machine's root seen through an overlay that is thrown away, so that nothing is left behind and nothing has to be fetched.
#
#   bash scripts/check-install.sh   after scripts/package.sh, which runs it
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

if [ "${1:-}" != --mounted ]; then
  need_packages "${BUILD_PACKAGES[@]}" pkgconf
  work=$(mktemp -d)
  trap 'rmdir "$work"' EXIT
  # Mounts belong to this namespace and end with it.
  as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  "${as_root[@]}" unshare --mount true || { echo "packages: installation left out, no mounts of its own are allowed here"; exit 0; }
  "${as_root[@]}" unshare --mount bash scripts/check-install.sh --mounted "$work"
  exit
fi

# In memory: an overlay cannot keep its changes on another one, which a container's root may be.
work=$2
mount -t tmpfs tmpfs "$work"
mkdir "$work"/{changes,work,root}
mount -t overlay overlay -o "lowerdir=/,upperdir=$work/changes,workdir=$work/work" "$work/root"
for folder in dev proc; do mount --rbind "/$folder" "$work/root/$folder"; done
mount -t tmpfs tmpfs "$work/root/tmp"
mkdir "$work/root/tmp/packages"
cp build/package/*.deb "$work/root/tmp/packages"
cp -r tests/packaging/consumer examples/data "$work/root/tmp"

chroot "$work/root" bash -euo pipefail <<'INSIDE'
export LC_ALL=C DEBIAN_FRONTEND=noninteractive HOME=/tmp
cd /tmp
names=()
for package in packages/*.deb; do names+=("$(dpkg-deb --field "$package" Package)"); done
dpkg --install packages/*.deb >installed.txt

cmake -G Ninja -S consumer -B host >/dev/null
grep -q 'Orbmath_DIR:PATH=/usr/lib/' host/CMakeCache.txt || { echo "CMake found other packages: $(grep Orbmath_DIR host/CMakeCache.txt)"; exit 1; }
cmake --build host >/dev/null
host/consumer_AFTER
# The flags are words.
g++ -std=c++17 $(pkg-config --cflags orbmath) -I consumer/own consumer/*.cpp -o by_pkg_config $(pkg-config --libs orbmath)
./by_pkg_config
orbmath --version
orbmath info data/pushbroom_left.RPB >/dev/null

# The library stays while something needs it.
library=$(printf "%s\n" "${names[@]}" | grep "^liborbmath[0-9]")
if dpkg --remove "$library" >/dev/null 2>&1; then echo "dpkg removed the library from under the tool"; exit 1; fi
dpkg --purge "${names[@]}" >removed.txt
known=$(ldconfig -p)
case $known in *rbmath*) echo "the loader still knows the library" && exit 1 ;; esac
INSIDE

# Removed files of the machine would be marks in the overlay; what is new must not be ours.
left=$(cd "$work/changes" && find . -ipath '*orbmath*')
[ -z "$left" ] || { echo "left after removal: $left"; exit 1; }
echo "packages: dpkg installs them, CMake, pkg-config and the tool's users find them, nothing stays after removal"
