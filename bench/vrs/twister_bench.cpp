// The twister generators: iBRng of MT19937, SFMT19937 and MT2203 beside std::mt19937 (the same
// recurrence, one word per call), dBRng of MT19937, and skip-ahead of MT19937 by 10^6, 10^12
// and 10^18. Compare items_per_second: oxl/mt19937/i against std/mt19937; ns per word is
// 1e9 / items_per_second.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "oxl/vrs.h"
#include "vrs/streams/stream_record.h"

namespace {

void Words(benchmark::State& state, int32_t id) {
  const auto n = static_cast<int32_t>(state.range(0));
  StreamRecord* s = nullptr;
  const uint32_t seed[4] = {1, 2, 3, 4};
  __vrsNewStreamEx(&s, id, 4, seed);
  std::vector<uint32_t> r(static_cast<size_t>(n));
  const BrngRecord& row = oxl::vrs::RowOf(s);
  for (auto _ : state) {
    row.iBRng(s, n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  __vrsDeleteStream(&s);
}

void Doubles(benchmark::State& state, int32_t id) {
  const auto n = static_cast<int32_t>(state.range(0));
  StreamRecord* s = nullptr;
  const uint32_t seed[4] = {1, 2, 3, 4};
  __vrsNewStreamEx(&s, id, 4, seed);
  std::vector<double> r(static_cast<size_t>(n));
  const BrngRecord& row = oxl::vrs::RowOf(s);
  for (auto _ : state) {
    row.dBRng(s, n, r.data(), 0.0, 1.0);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  __vrsDeleteStream(&s);
}

void StdMt19937(benchmark::State& state) {
  const auto n = static_cast<size_t>(state.range(0));
  std::mt19937 g(5489);
  std::vector<uint32_t> r(n);
  for (auto _ : state) {
    for (size_t i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(g());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void Skip(benchmark::State& state, int64_t nskip) {
  StreamRecord* s = nullptr;
  const uint32_t seed = 7;
  __vrsNewStreamEx(&s, 0x800000, 1, &seed);
  for (auto _ : state) benchmark::DoNotOptimize(__vrsSkipAheadStream(s, nskip));
  __vrsDeleteStream(&s);
}

BENCHMARK_CAPTURE(Words, oxl/mt19937/i, 0x800000)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(Words, oxl/sfmt19937/i, 0xD00000)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(Words, oxl/mt2203/i, 0x900000)->Arg(1000)->Arg(10000);
BENCHMARK(StdMt19937)->Name("std/mt19937/i")->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(Doubles, oxl/mt19937/d, 0x800000)->Arg(10000);
BENCHMARK_CAPTURE(Doubles, oxl/sfmt19937/d, 0xD00000)->Arg(10000);
BENCHMARK_CAPTURE(Skip, oxl/mt19937/skip_1e6, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Skip, oxl/mt19937/skip_1e12, 1000000000000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Skip, oxl/mt19937/skip_1e18, 1000000000000000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
