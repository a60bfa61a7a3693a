#!/usr/bin/env bash
# Installs what the Windows check needs on a Debian machine: the MinGW-w64
# cross toolchain, Wine to run its programs, and the native build tools.
set -euo pipefail
packages=(cmake ninja-build g++ binutils g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -q
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
