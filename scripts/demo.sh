#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds and installs the library into build/demo/prefix, then builds examples/ against
# that installation as an outside project would (find_package(QVmath CONFIG)) and runs it.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
qv_install_deps g++ make cmake pkg-config libopenblas-dev liblapacke-dev libcminpack-dev

jobs=$(nproc)
prefix="$PWD/build/demo/prefix"
cmake -S . -B build/demo/lib -DCMAKE_BUILD_TYPE=Release -DQVMATH_BUILD_TESTS=OFF \
  -DCMAKE_INSTALL_PREFIX="$prefix" > /dev/null
cmake --build build/demo/lib -j"$jobs"
cmake --install build/demo/lib > /dev/null
cmake -S examples -B build/demo/examples -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
cmake --build build/demo/examples -j"$jobs"
echo
"$PWD/build/demo/examples/qvmath_tour" "$@"
