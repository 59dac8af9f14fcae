#!/usr/bin/env bash
# Builds the benchmark binaries (Release) and regenerates docs/performance.md from one run of them.
#   scripts/bench.sh [bench/report.py options, e.g. --filter 'dExp' --repetitions 9]
# The build directory is build-bench, or $OXL_BENCH_BUILD.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${OXL_BENCH_BUILD:-build-bench}
binaries=(oxl_bench_vm)

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DOXL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" -j"$(nproc)" --target "${binaries[@]}"
exec python3 bench/report.py "$@" "${binaries[@]/#/$build/bench/}"
