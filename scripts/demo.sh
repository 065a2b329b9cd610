#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds and installs the library and the qvmath program into build/demo/prefix, builds
# examples/ against that installation as an outside project would (find_package(QVmath
# CONFIG)) and runs it, then runs the installed qvmath on the built-in samples: normals and
# curvature of a noisy torus, the planes of a noisy box, and a picture of each; then a
# closed mesh reconstructed from the torus scan and the scan's deviation from that mesh.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
qv_install_deps g++ make cmake pkg-config libopenblas-dev liblapacke-dev libcminpack-dev \
  libnanoflann-dev libcli11-dev libpng-dev

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

qvmath="$prefix/bin/qvmath"
out="$PWD/build/demo/out"
rm -rf "$out" && mkdir -p "$out" && cd "$out"
echo
echo "== $qvmath on the built-in samples (truth known, so the accuracy is shown)"
"$qvmath" sample torus -o torus.ply
"$qvmath" normals torus.ply -o torus_normals.ply --report normals_report.json
# Wider neighbourhoods than the default 30 average out the scanner noise in the curvatures.
"$qvmath" curvature torus_normals.ply -o torus_curvature.ply -k 100 --report curvature_report.json
"$qvmath" preview torus_curvature.ply -o torus_curvature.png
"$qvmath" sample box -o box.ply
"$qvmath" planes box.ply -o box_planes.ply --report planes_report.json
"$qvmath" preview box_planes.ply -o box_planes.png
# A mesh from the scan (normals estimated and oriented on the way), then each scanned
# point's signed distance to it, with a histogram and a picture.
"$qvmath" reconstruct torus.ply -o torus_mesh.ply --report reconstruct_report.json |
  tee reconstruct.txt
"$qvmath" deviation torus.ply torus_mesh.ply -o torus_deviation.ply --tolerance 0.002 \
  --png torus_deviation.png --report deviation_report.json | tee deviation.txt
echo
echo "Outputs in $out:"
echo "  point clouds (PLY): torus.ply torus_normals.ply torus_curvature.ply box.ply box_planes.ply"
echo "                      torus_deviation.ply (field deviation: signed distance to the mesh)"
echo "  mesh (PLY):         torus_mesh.ply (reconstructed from torus.ply)"
echo "  plane list (JSON):  box_planes.json; reports: *_report.json"
echo "  pictures (PNG):     torus_curvature.png box_planes.png torus_deviation.png"
echo "  torus mesh:        $(sed -n 's/^  mesh://p' reconstruct.txt)"
echo "  torus deviation:   $(sed -n 's/^  signed distance://p' deviation.txt)"
echo "                      $(sed -n 's/^  within/within/p' deviation.txt)"
