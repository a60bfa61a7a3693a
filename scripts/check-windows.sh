#!/usr/bin/env bash
# The Windows check: cross-builds the library for 64-bit Windows with MinGW-w64
# in build-windows/, checks that the DLL imports system DLLs only, runs the
# Windows check program under Wine (exports, version block, lifecycle, element
# cases) and compares its element results bit for bit with the same cases run
# through the native library. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-windows.sh

build=build-windows
common=(-G Ninja -DCMAKE_BUILD_TYPE=Release -DSTI_BUILD_TESTS=OFF -DSTI_BUILD_BENCHMARKS=OFF
        -DSTI_BUILD_EXAMPLES=OFF -DSTI_BUILD_PYTHON=OFF -DSTI_BUILD_WINDOWS_CHECK=ON)

echo "== cross build"
cmake -S . -B "$build" "${common[@]}" -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw-w64-x86_64.cmake
cmake --build "$build" --parallel

echo "== native case runner"
# The baseline copy of the numerics, as in the DLL (the vector-unit copies give
# the same bits; the test suite checks each against the golden results).
cmake -S . -B "$build/native" "${common[@]}" -DSTI_VECTOR_UNITS=OFF
cmake --build "$build/native" --parallel --target sti_native_cases

echo "== imports of the DLL"
dll="$build/DRNQVLStiWBX_StableTime.dll"
imports=$(x86_64-w64-mingw32-objdump -p "$dll" | sed -n 's/^[[:space:]]*DLL Name: //p')
echo "$imports"
status=0
for name in $imports; do
  case "${name,,}" in
    kernel32.dll | msvcrt.dll | ucrtbase.dll | api-ms-win-*) ;;
    *) echo "FAIL: $dll imports $name, which is not a system DLL"; status=1 ;;
  esac
done
[ -n "$imports" ] || { echo "FAIL: no imports read from $dll"; status=1; }

echo "== Windows check under Wine"
wine=/usr/lib/wine/wine64
export WINEDEBUG=-all WINEPREFIX="$PWD/$build/wine-prefix"
# Stops this prefix's Wine server when the check ends, however it ends.
trap '/usr/lib/wine/wineserver -k 2>/dev/null || true' EXIT
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  "$wine" wineboot --init > "$build/wineboot.log" 2>&1 ||
    { cat "$build/wineboot.log"; echo "FAIL: cannot create the Wine prefix"; exit 1; }
fi
rm -f "$build/results-windows.txt" "$build/results-native.txt"
(cd "$build" && "$wine" ./sti_windows_check.exe results-windows.txt) || status=1

echo "== native results against Windows results"
"$build/native/tests/windows/sti_native_cases" "$build/results-native.txt" || status=1
if [ -f "$build/results-windows.txt" ] && [ -f "$build/results-native.txt" ] &&
   diff -u "$build/results-native.txt" "$build/results-windows.txt"; then
  echo "results equal bit for bit: $(grep -c '^case' "$build/results-native.txt") cases," \
       "$(grep -vc '^case' "$build/results-native.txt") elements"
else
  echo "FAIL: Windows and native results differ"
  status=1
fi

[ "$status" -eq 0 ] && echo "Windows check passed" || echo "Windows check FAILED"
exit "$status"
