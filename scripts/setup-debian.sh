#!/usr/bin/env bash
# Installs what building and testing the library, its Python package and the
# stabletime command need on a Debian machine.
set -euo pipefail
bash "$(dirname "$0")/install-packages.sh" \
  cmake ninja-build g++ libgtest-dev libbenchmark-dev binutils \
  python3 python3-numpy python3-pytest python3-meshio python3-matplotlib python3-gmsh gmsh \
  libdeflate0 \
  libopenmpi-dev openmpi-bin python3-mpi4py
