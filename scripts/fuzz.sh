#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the libFuzzer targets with clang in build/fuzz and runs each for the given number of
# seconds (default 60) on a scratch copy of its seed corpus, so that the committed corpus
# never grows by accident. A crash, leak, hang (25 s per input) or failed check stops the
# script with a non-zero status; the input that caused it is kept in build/fuzz/run/<target>/.
#   scripts/fuzz.sh [seconds] [target...]     targets: the stems of fuzz/*_fuzz.cpp
# With QV_FUZZ_RUNS=N set, each target instead runs exactly N inputs from the fixed seed 1:
# the same inputs on every machine, so that a test run is reproducible and a clean result
# here is a clean result anywhere.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
qv_install_deps "${QV_PACKAGES[@]}"

seconds=${1:-60}
shift || true
if (($#)); then
  targets=("$@")
else
  targets=($(cd fuzz && ls *_fuzz.cpp | sed 's/_fuzz\.cpp$//'))
fi

CC=clang-14 CXX=clang++-14 cmake -S . -B build/fuzz -DQVMATH_BUILD_FUZZ=ON -DQVMATH_WERROR=ON \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQVMATH_SANITIZE= -DQVMATH_BUILD_TESTS=OFF -DQVMATH_BUILD_TOOLS=OFF
cmake --build build/fuzz -j"$(nproc)" --target "${targets[@]/%/_fuzz}"

export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
for t in "${targets[@]}"; do
  work="build/fuzz/run/$t"
  rm -rf "$work"
  mkdir -p "$work/corpus"
  if [ -d "fuzz/corpus/$t" ]; then cp fuzz/corpus/"$t"/* "$work/corpus/"; fi
  if [ -n "${QV_FUZZ_RUNS:-}" ]; then
    budget=(-runs="$QV_FUZZ_RUNS" -seed=1)
    echo "== fuzzing $t for $QV_FUZZ_RUNS inputs from seed 1"
  else
    budget=(-max_total_time="$seconds")
    echo "== fuzzing $t for ${seconds} s"
  fi
  "build/fuzz/fuzz/${t}_fuzz" "${budget[@]}" -timeout=25 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$work/" "$work/corpus" 2>"$work/log.txt" ||
    { tail -n 60 "$work/log.txt"; echo "fuzz target $t failed; see $work/"; exit 1; }
  grep -E '^stat::number_of_executed_units|^Done' "$work/log.txt" || true
done
echo "All fuzz targets ran clean."
