#!/usr/bin/env bash
# The adoption check: uses the committed sources (HEAD, through git archive)
# the way a new host project would, in a temporary folder, with the commands
# the README shows:
#   - configure, build and install the library to a temporary prefix;
#   - a C host built with pkg-config, a C++ host with find_package (against the
#     prefix, and against the build tree), a C host that pulls the sources in
#     with add_subdirectory; each is run and checks one computed increment;
#   - the Python package installed with pip into a fresh venv, its command run
#     on a bundled mesh; then again with a copy of the library built in;
#   - every version (C header, pkg-config, CMake package, Python) the same.
# Set STI_KEEP_ADOPTION=1 to keep the temporary folder.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-packages.sh cmake ninja-build g++ git pkg-config python3 python3-venv \
  python3-pip python3-setuptools python3-wheel python3-numpy python3-meshio

jobs="${STI_JOBS:-2}"
work="$(mktemp -d "${TMPDIR:-/tmp}/stabletime-adoption.XXXXXX")"
if [ "${STI_KEEP_ADOPTION:-0}" = 1 ]; then
  echo "keeping $work"
else
  trap 'rm -rf "$work"' EXIT
fi
src="$work/stabletime"
prefix="$work/prefix"
mkdir -p "$src"
git archive --format=tar HEAD | tar -x -C "$src"
# A host's own environment may name other libraries or packages: none here.
unset STABLETIME_LIBRARY PKG_CONFIG_PATH CMAKE_PREFIX_PATH LD_LIBRARY_PATH PYTHONPATH || true

step() { echo; echo "== $*"; }
fail() { echo "FAIL: $*"; exit 1; }

step "library: configure, build and install to $prefix"
(cd "$src" &&
 cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
       -DSTI_BUILD_TESTS=OFF -DSTI_BUILD_BENCHMARKS=OFF > "$work/configure.log" &&
 cmake --build build --parallel "$jobs" > "$work/build.log" &&
 cmake --install build > "$work/install.log") ||
  { cat "$work"/*.log; fail "library build or install"; }
version=$(sed -n 's/^#define STABLETIME_VERSION "\(.*\)"$/\1/p' \
          "$prefix/include/stabletime/version.h")
[ -n "$version" ] || fail "no STABLETIME_VERSION in the installed version.h"
echo "installed version $version"

hosts="$src/examples/hosts"

step "C host through pkg-config"
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
[ "$(pkg-config --modversion stabletime)" = "$version" ] || fail "pkg-config version"
(cd "$hosts/pkg-config" &&
 cc host.c $(pkg-config --cflags --libs stabletime) -o "$work/pkg-config-host")
"$work/pkg-config-host" | grep -F "stabletime $version," || fail "pkg-config host"
unset PKG_CONFIG_PATH

step "C++ host through find_package, against the install prefix and the build tree"
cmake -S "$hosts/find-package" -B "$work/find-package" -G Ninja \
      -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
cmake --build "$work/find-package" > /dev/null
"$work/find-package/host" | grep -F "stabletime $version," || fail "find_package host (prefix)"
grep -qx "StableTime_DIR:PATH=$prefix/lib/cmake/StableTime" "$work/find-package/CMakeCache.txt" ||
  fail "find_package did not take the package of $prefix"
cmake -S "$hosts/find-package" -B "$work/find-package-tree" -G Ninja \
      -DStableTime_DIR="$src/build" > /dev/null
cmake --build "$work/find-package-tree" > /dev/null
"$work/find-package-tree/host" | grep -F "stabletime $version," ||
  fail "find_package host (build tree)"

step "C host that builds the sources with add_subdirectory (only a compiler needed)"
# The host as the README shows it, with the sources in its third_party folder.
mkdir -p "$hosts/subdirectory/third_party"
ln -s "$src" "$hosts/subdirectory/third_party/stabletime"
# No CMAKE_BUILD_TYPE, no option: the host's defaults, and no test framework.
cmake -S "$hosts/subdirectory" -B "$work/subdirectory-build" -G Ninja > /dev/null
cmake --build "$work/subdirectory-build" --parallel "$jobs" > /dev/null
"$work/subdirectory-build/host" | grep -F "stabletime $version," || fail "add_subdirectory host"

step "Python package with pip in a fresh venv"
/usr/bin/python3 -m venv --system-site-packages "$work/venv"
(cd "$src" &&
 STABLETIME_PREFIX="$prefix" "$work/venv/bin/pip" install --no-build-isolation ./python \
   > "$work/pip.log") || { cat "$work/pip.log"; fail "pip install"; }
[ "$("$work/venv/bin/stabletime" --version)" = "stabletime $version" ] || fail "command version"
(cd "$src" &&
 "$work/venv/bin/stabletime" examples/meshes/truss.msh --E 210000 --nu 0.3 --density 7.85e-9 \
   --section-area 400 > "$work/report.txt") ||
  { cat "$work/report.txt"; fail "stabletime command"; }
head -n 6 "$work/report.txt"
grep -q "Model minimum:" "$work/report.txt" || fail "no model minimum in the report"
"$work/venv/bin/python" -c "import stabletime, sys; sys.exit(stabletime.__version__ != '$version')" ||
  fail "package version"

step "Python package with a copy of the library built in"
/usr/bin/python3 -m venv --system-site-packages "$work/venv-bundled"
(cd "$src" &&
 STABLETIME_BUNDLE_LIBRARY="$prefix/lib/DRNQVLStiWBX_StableTime.so" \
   "$work/venv-bundled/bin/pip" install --no-build-isolation ./python > "$work/pip.log") ||
  { cat "$work/pip.log"; fail "pip install with the library built in"; }
"$work/venv-bundled/bin/python" -c '
import sys
from stabletime import _library
found = _library.locate(recorded=_library._recorded_library())[0]
print("loads", found)
sys.exit(found.parent.name != "stabletime" or not _library.load())' ||
  fail "the package does not load its own copy of the library"
(cd "$src" &&
 "$work/venv-bundled/bin/stabletime" examples/meshes/block.msh --E 210000 --nu 0.3 \
   --density 7.85e-9 > "$work/report.txt") || { cat "$work/report.txt"; fail "stabletime command"; }
head -n 1 "$work/report.txt"

echo
echo "Adoption check passed: pkg-config, find_package, add_subdirectory and pip, version $version"
