#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks the formatting, then builds everything and runs every test: a plain tree, then the
# same suites under AddressSanitizer + UndefinedBehaviorSanitizer, then every test labelled
# `threads` (the tests that run code on more than one thread) under ThreadSanitizer, then
# a fixed budget of each libFuzzer target. Any failure exits non-zero.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
qv_install_deps "${QV_PACKAGES[@]}"

jobs=$(nproc)
# One BLAS thread: results must not depend on the machine's core count.
export OPENBLAS_NUM_THREADS=1
common=(-DQVMATH_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG")
# Line tables only (-g1): full debug information costs a third of the compile time, and a
# failure report needs no more than function names and lines. The sanitizer trees build at
# -O1, as the sanitizers' own documentation advises, which halves their compile time again.
san_common=(-DQVMATH_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG")

echo "== format (clang-format, the tree's .clang-format)"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror

echo "== plain build"
cmake -S . -B build/test "${common[@]}" -DQVMATH_SANITIZE=
cmake --build build/test -j"$jobs"
ctest --test-dir build/test --output-on-failure -j"$jobs"

echo "== Python module"
PYTHONPATH="$PWD/build/test/python" /usr/bin/python3 -m pytest -q -p no:cacheprovider python/tests

echo "== AddressSanitizer + UndefinedBehaviorSanitizer"
cmake -S . -B build/asan "${san_common[@]}" -DQVMATH_SANITIZE="address;undefined" -DQVMATH_BUILD_PYTHON=OFF
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/asan --output-on-failure -j"$jobs"

echo "== ThreadSanitizer (tests labelled threads)"
cmake -S . -B build/tsan "${san_common[@]}" -DQVMATH_SANITIZE=thread -DQVMATH_BUILD_TOOLS=OFF -DQVMATH_BUILD_PYTHON=OFF
# Test names are their target names; listing them needs only the configured tree.
tsan_targets=$(ctest --test-dir build/tsan -N -L '^threads$' | sed -n 's/^ *Test *#[0-9]*: *//p')
if [ -z "$tsan_targets" ]; then
  echo "no test carries the threads label" >&2
  exit 1
fi
# shellcheck disable=SC2086  # one target per word
cmake --build build/tsan -j"$jobs" --target qvmath $tsan_targets
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --test-dir build/tsan --output-on-failure -j"$jobs" -L '^threads$'

echo "== libFuzzer targets, 200000 inputs each from a fixed seed (clang, ASan + UBSan)"
QV_FUZZ_RUNS=200000 scripts/fuzz.sh
echo "All test suites passed."
