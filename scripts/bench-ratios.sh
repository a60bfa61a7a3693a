#!/usr/bin/env bash
# Prints each family's rate through the public entry beside the gather-only
# reference on the same mesh, and their ratio.
#   bash scripts/bench-ratios.sh [BUILD_DIR] [extra benchmark arguments]
# STI_BENCH_THREADS=1,16 adds 16 callers at once; STI_BENCH_ELEMENTS sets the
# mesh size (default 262144 elements). Example, one family, three repetitions:
#   bash scripts/bench-ratios.sh build --benchmark_filter='Ratio/C3D8R/' \
#       --benchmark_repetitions=3
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
shift || true
filter="Ratio/"
args=()
for a in "$@"; do
  case "$a" in
    --benchmark_filter=*) filter="${a#--benchmark_filter=}" ;;
    *) args+=("$a") ;;
  esac
done
"$build/bench/stabletime_bench" --benchmark_filter="$filter" --benchmark_format=json \
  "${args[@]}" | /usr/bin/python3 bench/ratio_table.py
