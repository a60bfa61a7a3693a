#!/usr/bin/env bash
# Sets up a fresh Debian machine, builds the library, its tests and benchmarks,
# and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-debian.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release
cmake --build build --parallel
ctest --test-dir build --output-on-failure
