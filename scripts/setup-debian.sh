#!/usr/bin/env bash
# Installs what building and testing the library, its Python package and the
# stabletime command need on a Debian machine.
set -euo pipefail
packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev binutils
          python3 python3-numpy python3-pytest python3-meshio python3-matplotlib
          python3-gmsh gmsh)
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
