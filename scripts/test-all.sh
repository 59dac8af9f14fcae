#!/usr/bin/env bash
# Builds and runs the whole test suite:
#   1. Release build: every test, and the benchmarks and demo must build.
#   2. Address and undefined-behaviour sanitizers: every test but the long sweeps and the table
#      regenerations.
#   3. Thread sanitizer: the threaded tests.
#   4. Fuzzers (clang's libFuzzer): each target over its seed corpus, 25 s apiece.
# The sanitizer builds compile the SIMD kernels for this processor's own target only: the Release
# build is the one that compares targets.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
start=$SECONDS

configure() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
}

echo "== Release build"
configure build
cmake --build build -j"$jobs"
ctest --test-dir build -j"$jobs" --output-on-failure

echo "== Address and undefined-behaviour sanitizers"
configure build-asan -DOXL_SANITIZE=address,undefined -DOXL_BUILD_BENCHMARKS=OFF \
  -DOXL_NATIVE_TARGET_ONLY=ON
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-asan -j"$jobs" --output-on-failure -LE 'long|tables'

echo "== Thread sanitizer"
configure build-tsan -DOXL_SANITIZE=thread -DOXL_BUILD_BENCHMARKS=OFF -DOXL_BUILD_EXAMPLES=OFF \
  -DOXL_NATIVE_TARGET_ONLY=ON
cmake --build build-tsan -j"$jobs" --target oxl_thread_tests
if [ -f tests/tsan.supp ]; then export TSAN_OPTIONS="suppressions=$PWD/tests/tsan.supp"; fi
ctest --test-dir build-tsan -j"$jobs" --output-on-failure -L threads

echo "== Fuzzers"
./scripts/fuzz.sh 25

echo "== All tests passed in $((SECONDS - start)) s"
