#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds everything and runs every test: a plain tree, then the same suites under
# AddressSanitizer + UndefinedBehaviorSanitizer, then the threaded infrastructure under
# ThreadSanitizer. Any failure exits non-zero.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
qv_install_deps "${QV_PACKAGES[@]}"

jobs=$(nproc)
# One BLAS thread: results must not depend on the machine's core count.
export OPENBLAS_NUM_THREADS=1
common=(-DQVMATH_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo)

echo "== plain build"
cmake -S . -B build/test "${common[@]}" -DQVMATH_SANITIZE=
cmake --build build/test -j"$jobs"
ctest --test-dir build/test --output-on-failure -j"$jobs"

echo "== Python module"
PYTHONPATH="$PWD/build/test/python" /usr/bin/python3 -m pytest -q -p no:cacheprovider python/tests

echo "== AddressSanitizer + UndefinedBehaviorSanitizer"
cmake -S . -B build/asan "${common[@]}" -DQVMATH_SANITIZE="address;undefined" -DQVMATH_BUILD_TOOLS=OFF -DQVMATH_BUILD_PYTHON=OFF
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/asan --output-on-failure -j"$jobs"

echo "== ThreadSanitizer (infrastructure)"
cmake -S . -B build/tsan "${common[@]}" -DQVMATH_SANITIZE=thread -DQVMATH_BUILD_TOOLS=OFF -DQVMATH_BUILD_PYTHON=OFF
tsan_targets=$(cd tests && ls platform/*_test.cpp infra/*_test.cpp 2>/dev/null | sed 's#/#_#; s#\.cpp$##')
cmake --build build/tsan -j"$jobs" --target qvmath $tsan_targets
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --test-dir build/tsan --output-on-failure -j"$jobs" -L 'platform|infra'
# ---- libFuzzer: a short bounded run of every fuzz target (clang, ASan + UBSan) ----
echo "== libFuzzer targets, 20 s each"
scripts/fuzz.sh 20
# ---- end of the libFuzzer block ----
echo "All test suites passed."
