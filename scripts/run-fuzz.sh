#!/usr/bin/env bash
# Builds the public-entry fuzz target with clang and libFuzzer (address and
# undefined-behaviour sanitizers on) in build-fuzz/, then fuzzes for the given
# number of seconds (default 60) starting from the committed seed corpus.
# Extra arguments go to libFuzzer, e.g. `scripts/run-fuzz.sh 3600 -jobs=4
# -workers=4`. New inputs go to build-fuzz/corpus, crashes to build-fuzz/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
shift || true

bash scripts/install-packages.sh clang libfuzzer-14-dev

cmake -S fuzz -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=None
cmake --build build-fuzz --parallel "${STI_JOBS:-2}"
mkdir -p build-fuzz/corpus
./build-fuzz/fuzz_stable_time -max_total_time="$seconds" -max_len=4096 -timeout=10 \
  -print_final_stats=1 -artifact_prefix=build-fuzz/ "$@" build-fuzz/corpus fuzz/corpus
