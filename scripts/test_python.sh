#!/usr/bin/env bash
# Builds the Python package from this tree in a virtual environment of its own and runs its tests, the type checker and
# the linter. Where no package index answers it says so in its last line and leaves them out.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

leave_out() {
  echo "Python: tests left out, $1"
  exit 0
}

need_packages "${BUILD_PACKAGES[@]}"
python=""
for candidate in python3.11 python3 python3.12 python3.13 python3.10; do
  "$candidate" -c 'import sys; sys.exit(sys.version_info < (3, 10))' 2>/dev/null && python=$candidate && break
done
[ -n "$python" ] || need_packages python3 python3-venv python3-dev
python=${python:-python3}

venv=build/python/venv
if [ ! -x "$venv/bin/python" ]; then
  "$python" -m venv "$venv" 2>/dev/null || { need_packages python3-venv python3-dev && "$python" -m venv "$venv"; }
fi
"$venv/bin/pip" install -q --disable-pip-version-check "nanobind>=2.2" "scikit-build-core>=0.10" ninja ||
  leave_out "no package index answers"
# Built in place, so that a second run compiles only what changed.
"$venv/bin/pip" install -q --disable-pip-version-check --no-build-isolation ".[raster,plot,cluster,test]" ||
  leave_out "its dependencies cannot be installed"

"$venv/bin/python" -m pytest -q python/tests
(cd python && "$OLDPWD/$venv/bin/python" -m mypy --config-file ../pyproject.toml)
"$venv/bin/ruff" check -q python
"$venv/bin/ruff" format -q --check python
echo "Python: tests passed with $("$venv/bin/python" --version)"
