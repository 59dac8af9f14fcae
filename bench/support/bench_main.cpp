// main of the array-benchmark binaries: the cases registered with OXL_BENCH are handed to Google
// Benchmark only here, after all static registrations, so that they can run grouped by table.
#include <benchmark/benchmark.h>

#include "support/array_bench.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  oxl::bench::RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
