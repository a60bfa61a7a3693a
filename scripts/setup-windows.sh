#!/usr/bin/env bash
# Installs what the Windows check needs on a Debian machine: the MinGW-w64
# cross toolchain, Wine to run its programs, and the native build tools.
set -euo pipefail
bash "$(dirname "$0")/install-packages.sh" \
  cmake ninja-build g++ binutils g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64
