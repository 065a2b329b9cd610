# SPDX-License-Identifier: MIT
"""Cost of the Python binding of `normals` on one million points.

Times qvmath.normals(points, k=16) from Python, input conversion and output arrays
included, against the C++ call of the same function on the same points in the same run:
the Google Benchmark program cloud_cloud_normals_bench (BM_Normals_QVmath, whose torus is
sample_torus(1000000, R=1, r=0.3, sigma=0.001, seed=2024), tree build included), and
against Open3D's C++ EstimateNormals (BM_Normals_Open3D, KNN 16) when that program was
built with Open3D. The rounds alternate between Python and C++ so that the noise of a
shared machine falls on both; each figure is the best of its rounds.

Use a Release tree built with the module and the benchmarks:
  cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DQVMATH_BUILD_BENCH=ON \\
        -DQVMATH_BUILD_TESTS=OFF -DQVMATH_BUILD_PYTHON=ON
  cmake --build build/bench --target qvmath_python cloud_cloud_normals_bench
  OPENBLAS_NUM_THREADS=1 PYTHONPATH=build/bench/python /usr/bin/python3 \\
      bench/python/normals_overhead.py build/bench/bench/cloud_cloud_normals_bench
"""
import argparse
import json
import subprocess
import time

import numpy as np

import qvmath

N = 1_000_000


def python_ms(points, threads, repeats):
    best = float("inf")
    for _ in range(repeats):
        t0 = time.perf_counter()
        qvmath.normals(points, k=16, threads=threads)
        best = min(best, time.perf_counter() - t0)
    return best * 1e3


def cpp_ms(program, repeats):
    out = subprocess.run(
        [program, "--benchmark_filter=BM_Normals_(QVmath|Open3D)", "--benchmark_format=json",
         f"--benchmark_repetitions={repeats}", "--benchmark_min_time=0.01"],
        check=True, capture_output=True, text=True).stdout
    best = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("run_type") != "iteration":
            continue
        name = b["run_name"]
        best[name] = min(best.get(name, float("inf")), b["real_time"])
    return best


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("program", help="path of cloud_cloud_normals_bench")
    ap.add_argument("--rounds", type=int, default=3)
    ap.add_argument("--repeats", type=int, default=3)
    args = ap.parse_args()
    f32 = qvmath.sample_torus(N, R=1.0, r=0.3, sigma=0.001, seed=2024)["points"]
    f64 = f32.astype(np.float64)
    py = {}
    cpp = {}
    for _ in range(args.rounds):
        for threads in (1, 2):
            for name, pts in (("float32", f32), ("float64", f64)):
                key = (threads, name)
                py[key] = min(py.get(key, float("inf")), python_ms(pts, threads, args.repeats))
        for name, ms in cpp_ms(args.program, args.repeats).items():
            cpp[name] = min(cpp.get(name, float("inf")), ms)
    print(f"normals of {N} points, k = 16, best of {args.rounds} x {args.repeats} runs (ms)")
    for threads in (1, 2):
        ref = cpp.get(f"BM_Normals_QVmath/{N}/{threads}/real_time")
        for name in ("float32", "float64"):
            ms = py[(threads, name)]
            line = f"  Python {name:7s} threads={threads}: {ms:8.1f}"
            if ref:
                line += f"   C++ {ref:8.1f}   overhead {100 * (ms / ref - 1):+5.1f} %"
            print(line)
    o3d = cpp.get(f"BM_Normals_Open3D/{N}/2/real_time")
    if o3d:
        print(f"  Open3D C++ EstimateNormals (OpenMP, 2 cores): {o3d:8.1f}   "
              f"Python float32 threads=2 is {o3d / py[(2, 'float32')]:.2f} x faster")
    else:
        print("  Open3D: not built into the benchmark program")


if __name__ == "__main__":
    main()
