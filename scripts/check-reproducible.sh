#!/usr/bin/env bash
# Builds the packages twice, in two folders whose names differ in length, and compares them byte by byte: the library, the tool, the Debian
# packages, the Python package.
# No compiler cache: it would hide what depends on the folder.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
need_packages "${BUILD_PACKAGES[@]}" dpkg-dev python3-venv python3-dev

SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH CCACHE_DISABLE=1
umask 022
rm -rf build/reproducible
mkdir -p build/reproducible
pip=build/reproducible/tools/bin/pip
python3 -m venv build/reproducible/tools
"$pip" install -q --disable-pip-version-check "nanobind>=2.2" "scikit-build-core>=0.10" ninja
for folder in one another/place; do
  tree=build/reproducible/$folder
  mkdir -p "$tree"
  git ls-files -z | tar --null -T - -cf - | tar -xf - -C "$tree"
  (
    cd "$tree"
    cmake --preset package -DORBMATH_WERROR=ON >/dev/null
    cmake --build --preset package -j "${ORBMATH_JOBS:-$(nproc)}"
    cd build/package
    cpack -G DEB >/dev/null
  )
  CMAKE_BUILD_PARALLEL_LEVEL=${ORBMATH_JOBS:-$(nproc)} \
    "$pip" wheel -q --disable-pip-version-check --no-build-isolation --no-deps -w "$tree/build/package" "$tree"
done

status=0
for file in build/reproducible/one/build/package/*.deb build/reproducible/one/build/package/*.whl \
  build/reproducible/one/build/package/src/libOrbmath.so.*.* \
  build/reproducible/one/build/package/tools/orbmath/orbmath; do
  other=build/reproducible/another/place/${file#build/reproducible/one/}
  if cmp "$file" "$other"; then
    echo "the same bytes: $(sha256sum "$file" | cut -c 1-16) ${file##*/}"
  else
    status=1
  fi
done
exit $status
