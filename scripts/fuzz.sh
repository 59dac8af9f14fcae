#!/usr/bin/env bash
# Builds the libFuzzer targets of tests/fuzz with clang and runs each over its checked-in seed
# corpus for a bounded time: `scripts/fuzz.sh [seconds per target]` (default 25). New inputs go to
# a scratch directory, a crash's input to build-fuzz/. Skips with a note when clang-14 is missing.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-25}
if ! command -v clang++-14 >/dev/null 2>&1; then
  echo "fuzz: clang++-14 not found, fuzzers skipped"
  exit 0
fi
# The fuzzers look for faults in the parsers and the editors' bookkeeping, not for differences
# between SIMD targets: the processor's own target is enough, and a third of the build.
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Release -DOXL_FUZZ=ON \
  -DOXL_NATIVE_TARGET_ONLY=ON -DOXL_BUILD_TESTS=OFF -DOXL_BUILD_BENCHMARKS=OFF \
  -DOXL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target oxl_fuzzers
for name in mode_env df_edit ss_edit streams; do
  scratch=$(mktemp -d)
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -print_final_stats=1
    -artifact_prefix=build-fuzz/"$name"-)
  if [ -f tests/fuzz/"$name".dict ]; then options+=(-dict=tests/fuzz/"$name".dict); fi
  status=0
  build-fuzz/tests/fuzz/"$name"_fuzzer "${options[@]}" "$scratch" tests/fuzz/corpus/"$name" \
    >build-fuzz/"$name".log 2>&1 || status=$?
  rm -rf "$scratch"
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' build-fuzz/"$name".log)
  if [ "$status" -ne 0 ]; then
    tail -40 build-fuzz/"$name".log
    echo "fuzz: $name failed after ${runs:-?} executions (log: build-fuzz/$name.log)"
    exit 1
  fi
  echo "fuzz: $name: $runs executions in $seconds s, no crash"
done
