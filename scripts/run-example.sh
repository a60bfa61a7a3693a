#!/usr/bin/env bash
# Sets up a fresh Debian machine, builds the library and runs the example host
# program on its bundled elements.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-debian.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release
cmake --build build --parallel --target stabletime_example
./build/examples/stabletime_example
