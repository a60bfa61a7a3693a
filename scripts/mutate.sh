#!/usr/bin/env bash
# Mutation testing: applies each mutation of scripts/mutations.txt alone to a
# copy of the sources, rebuilds incrementally, runs the C++ test suites and
# counts the mutation caught when a test fails. Prints caught/total and names
# the survivors. A mutation whose snippet is not found exactly once is STALE
# and left out of the total; one that does not compile is INVALID.
#
# The golden-results comparison is left out unless --golden is given: it
# fails on any change of results, so it says nothing about whether the tests
# check the right values.
#
#   scripts/mutate.sh              every mutation
#   scripts/mutate.sh --sample     the fixed sample that CI runs
#   scripts/mutate.sh I03 M08      the named mutations
#   options: --golden (add the golden comparison), --python (add pytest),
#   --in-place=DIR: mutate the working tree itself (each file restored on exit,
#   also on interrupt) and rebuild DIR, an existing build folder of it, instead
#   of building a copy (CI uses the build folder its tests already built).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
work=${STI_MUTATE_DIR:-$root/build-mutate}
tree=$work/tree
build=$work/build
list=$root/scripts/mutations.txt
sample=(I03 P01 P03 M04 C01 B04 K01 A01)
python=/usr/bin/python3

exclude='golden_results(_[a-z0-9]+)?|python'
ids=() in_place=""
for arg in "$@"; do
  case $arg in
    --sample) ids+=("${sample[@]}") ;;
    --golden) exclude=${exclude/golden_results/none} ;;
    --python) exclude=${exclude/python/none} ;;
    --in-place=*) in_place=${arg#--in-place=} ;;
    -*) echo "unknown option $arg" >&2; exit 2 ;;
    *) ids+=("$arg") ;;
  esac
done

mkdir -p "$work"
if [[ -n $in_place ]]; then
  tree=$root
  build=$(cd "$in_place" && pwd)
else
  # The copy: tracked and unignored files of the working tree. Files are only
  # rewritten when their content changed, so that the build stays incremental;
  # files gone from the working tree go from the copy.
  mkdir -p "$tree"
  git ls-files --cached --others --exclude-standard |
    while IFS= read -r f; do [[ -f $f ]] && echo "$f"; done | sort >"$work/files"
  while IFS= read -r f; do
    if ! cmp -s "$f" "$tree/$f"; then mkdir -p "$tree/$(dirname "$f")"; cp "$f" "$tree/$f"; fi
  done <"$work/files"
  (cd "$tree" && find . -type f | sed 's|^\./||' | sort | comm -23 - "$work/files" | xargs -r rm --)

  launcher=()
  if command -v ccache >/dev/null; then
    export CCACHE_BASEDIR=$work
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
  fi
  # Tests link the shared library; a rebuilt library needs no relink of them.
  cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DSTI_BUILD_BENCHMARKS=OFF \
    -DSTI_BUILD_EXAMPLES=OFF -DCMAKE_LINK_DEPENDS_NO_SHARED=ON "${launcher[@]}" >/dev/null
fi
build_suite() { cmake --build "$build" -j2 >"$work/build.log" 2>&1; }
run_suite() {
  # No stdin: mpiexec would read the rest of the mutation list.
  ctest --test-dir "$build" -E "^($exclude)\$" --stop-on-failure --timeout 300 \
    >"$work/ctest.log" 2>&1 </dev/null
}
build_suite || { cat "$work/build.log"; exit 1; }
run_suite || { echo "the unmutated suite fails; see $work/ctest.log" >&2; exit 1; }

# Replaces the snippet in the file; exit 3 when it is not there exactly once.
apply() {
  "$python" - "$1" "$2" "$3" <<'EOF'
import sys
path, old, new = sys.argv[1], sys.argv[2].replace("\\n", "\n"), sys.argv[3].replace("\\n", "\n")
text = open(path).read()
if text.count(old) != 1:
    sys.exit(3)
open(path, "w").write(text.replace(old, new))
EOF
}

pristine=$work/pristine
mutated=""
restore() { if [[ -n $mutated ]]; then cat "$pristine" >"$mutated"; mutated=""; fi; }
trap restore EXIT
trap 'restore; exit 130' INT TERM

caught=0 total=0 survivors=() stale=() invalid=()
run_one() {  # id subsystem file original replacement
  local id=$1 file=$tree/$3
  if [[ ! -f $file ]]; then stale+=("$id"); echo "STALE    $id $3 (no such file)"; return; fi
  cp "$file" "$pristine"
  mutated=$file
  if ! apply "$file" "$4" "$5"; then
    restore; stale+=("$id"); echo "STALE    $id $3"; return
  fi
  if ! build_suite; then
    restore; invalid+=("$id"); echo "INVALID  $id $3 (does not compile)"; return
  fi
  total=$((total + 1))
  if run_suite; then
    survivors+=("$id"); echo "SURVIVED $id $2 $3: $5"
  else
    caught=$((caught + 1))
    echo "caught   $id by $(grep -m1 -oE '[0-9]+ - [a-z_]+' "$work/ctest.log" | sed 's/.* - //')"
  fi
  restore
}

id="" sub="" file="" old=""
while IFS= read -r line || [[ -n $line ]]; do
  case $line in
    '#'* | '') continue ;;
    '- '*) old=${line#- } ;;
    '+ '*)
      if ((${#ids[@]} == 0)) || [[ " ${ids[*]} " == *" $id "* ]]; then
        run_one "$id" "$sub" "$file" "$old" "${line#+ }"
      fi ;;
    *) read -r id sub file <<<"$line" ;;
  esac
done <"$list"
build_suite  # leave the copy's build unmutated

echo "caught $caught/$total"
((${#survivors[@]} == 0)) || echo "survivors: ${survivors[*]}"
((${#stale[@]} == 0)) || echo "stale (refresh scripts/mutations.txt): ${stale[*]}"
((${#invalid[@]} == 0)) || echo "invalid: ${invalid[*]}"
# In CI (--sample) a survivor fails the run.
[[ " $* " != *" --sample "* || ${#survivors[@]} -eq 0 ]]
