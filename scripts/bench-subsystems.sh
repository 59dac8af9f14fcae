#!/usr/bin/env bash
# Builds the benchmarks of streams, statistics, data fitting and sorts (Release), runs each beside its
# peers (numpy, scipy, GSL, the C++ standard library) and writes what they print, with the machine
# and the commit, to docs/performance-subsystems.md.
#   scripts/bench-subsystems.sh
# The build directory is build-bench, or $OXL_BENCH_BUILD. Run it on a quiet machine: the peers
# are timed in the same run, but two jobs on two cores still distort the threaded rows.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${OXL_BENCH_BUILD:-build-bench}
py=/usr/bin/python3
out=docs/performance-subsystems.md

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DOXL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" -j"$(nproc)" --target oxl_bench_df oxl_bench_df_cubic oxl_bench_stats \
  oxl_bench_vrs oxl_bench_twist oxl_bench_counter oxl_bench_sort

section() {  # title, shell command
  echo "== $1" >&2
  {
    echo
    echo "## $1"
    echo
    echo '```'
    echo "\$ $2"
    bash -c "$2" 2>&1
    echo '```'
  } >>"$out.tmp"
}

# The SIMD target the library runs on: OXL_SIMD_TARGET when set (run the script under
# OXL_SIMD_TARGET=avx2 to time the AVX2 target on an AVX-512 machine), else the best one the
# processor has.
flags=$(grep -m1 '^flags' /proc/cpuinfo)
best=scalar
if [[ $flags == *" avx2 "* && $flags == *" fma "* ]]; then best=avx2; fi
if [[ $flags == *" avx512bw "* && $flags == *" avx512vl "* && $flags == *" avx512dq "* ]]; then
  best=avx512
fi
target=${OXL_SIMD_TARGET:-$best}

{
  echo "# Performance of streams, statistics and data fitting"
  echo
  echo "Written by \`scripts/bench-subsystems.sh\` at commit $(git rev-parse --short HEAD) on"
  echo "$(date -u +%Y-%m-%d), $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs)," \
    "$(nproc) cores; oxl on its $target SIMD target. Ratios are peer time / oxl time: above 1," \
    "oxl is faster."
} >"$out.tmp"

b=$build/bench
section "Cell search and linear interpolation" "$py bench/df_vs_numpy.py $b/df/oxl_bench_df"
section "Natural cubic splines" "$py bench/df_cubic_vs_scipy.py $b/df/oxl_bench_df_cubic"
section "Summary statistics" "$py bench/stats_vs_numpy.py $b/stats/oxl_bench_stats"
section "Distributions" "$py bench/vrs_vs_numpy.py $b/vrs/oxl_bench_vrs"
section "Twister generators (medians of 5)" "$b/vrs/oxl_bench_twist --benchmark_repetitions=5 \
  --benchmark_report_aggregates_only=true 2>/dev/null | grep -E '^-|^Bench|_median'"
section "Counter-based generators and R250 (medians of 5)" \
  "$py bench/counter_vs_numpy.py $b/vrs/oxl_bench_counter"
section "Radix sorts (CPU time, medians of 5)" \
  "$py bench/sort_vs_numpy.py $b/primitives/oxl_bench_sort"
mv "$out.tmp" "$out"
echo "wrote $out" >&2
