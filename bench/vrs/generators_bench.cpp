// The congruential generators' iBRng and dBRng beside a plain scalar loop of the same recurrence
// and beside std::minstd_rand and std::mt19937, at an L1-sized and an L2-sized request. Compare
// items_per_second within a group: oxl/<gen>/<form> against scalar/<gen>/<form> and std/...
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "oxl/vrs.h"

namespace {

constexpr double kA = -1.0;
constexpr double kB = 3.0;

// The library's entries through the stream's registry row.
void Library(benchmark::State& state, int32_t brng, char form) {
  const auto n = static_cast<int32_t>(state.range(0));
  StreamRecord* s = nullptr;
  const uint32_t seed[6] = {12345, 2, 3, 4, 5, 6};
  __vrsNewStreamEx(&s, brng, 6, seed);
  std::vector<uint64_t> words(n);
  std::vector<double> reals(n);
  for (auto _ : state) {
    if (form == 'i') {
      _vrsiRngUniformBits(0, s, n, reinterpret_cast<uint32_t*>(words.data()));
      benchmark::DoNotOptimize(words.data());
    } else {
      _vrsdRngUniform(0, s, n, reals.data(), kA, kB);
      benchmark::DoNotOptimize(reals.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  __vrsDeleteStream(&s);
}

// Plain scalar loops of the recurrences, written as a user would: one step per output, the
// modulus by the compiler's division by a constant.
struct ScalarMcg31 {
  uint32_t x = 12345;
  uint32_t Next() {
    const uint32_t out = x;
    x = static_cast<uint32_t>(uint64_t{x} * 1132489760u % 2147483647u);
    return out;
  }
  static constexpr double kScale = 1.0 / 2147483647.0;
};
struct ScalarMcg59 {
  uint64_t x = 12345;
  uint64_t Next() {
    const uint64_t out = x;
    x = (x * 302875106592253ull) & ((uint64_t{1} << 59) - 1);
    return out;
  }
  static constexpr double kScale = 0x1p-59;
};
struct ScalarMrg32k3a {
  uint64_t x0 = 12345, x1 = 2, x2 = 3, y0 = 4, y1 = 5, y2 = 6;
  uint32_t Next() {
    constexpr uint64_t m1 = 4294967087, m2 = 4294944443;
    const uint64_t x = (1403580 * x1 + 810728 * (m1 - x0)) % m1;
    const uint64_t y = (527612 * y2 + 1370589 * (m2 - y0)) % m2;
    x0 = x1, x1 = x2, x2 = x;
    y0 = y1, y1 = y2, y2 = y;
    return static_cast<uint32_t>(x > y ? x - y : x - y + m1);
  }
  static constexpr double kScale = 1.0 / 4294967087.0;
};
// The standard library's engines, mapped to doubles by the same multiply and add.
template <class Engine>
struct Std {
  Engine e;
  uint64_t Next() { return e(); }
  static constexpr double kScale =
      1.0 / (static_cast<double>(Engine::max()) - static_cast<double>(Engine::min()) + 1.0);
};

template <class Gen, class Word>
void Loop(benchmark::State& state, char form) {
  const auto n = static_cast<size_t>(state.range(0));
  Gen g;
  std::vector<Word> words(n);
  std::vector<double> reals(n);
  const double scale = (kB - kA) * Gen::kScale;
  for (auto _ : state) {
    if (form == 'i') {
      for (size_t i = 0; i < n; ++i) words[i] = static_cast<Word>(g.Next());
      benchmark::DoNotOptimize(words.data());
    } else {
      for (size_t i = 0; i < n; ++i) reals[i] = static_cast<double>(g.Next()) * scale + kA;
      benchmark::DoNotOptimize(reals.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void Sizes(benchmark::internal::Benchmark* b) { b->Arg(1024)->Arg(65536); }

void ScalarMcg31Loop(benchmark::State& s, char form) { Loop<ScalarMcg31, uint32_t>(s, form); }
void ScalarMcg59Loop(benchmark::State& s, char form) { Loop<ScalarMcg59, uint64_t>(s, form); }
void ScalarMrgLoop(benchmark::State& s, char form) { Loop<ScalarMrg32k3a, uint32_t>(s, form); }
void MinstdLoop(benchmark::State& s, char form) { Loop<Std<std::minstd_rand>, uint32_t>(s, form); }
void Mt19937Loop(benchmark::State& s, char form) { Loop<Std<std::mt19937>, uint32_t>(s, form); }

#define OXL_GENERATOR_BENCH(name, brng, scalar)                        \
  BENCHMARK_CAPTURE(Library, oxl_##name##_i, brng, 'i')->Apply(Sizes); \
  BENCHMARK_CAPTURE(scalar, scalar_##name##_i, 'i')->Apply(Sizes);     \
  BENCHMARK_CAPTURE(Library, oxl_##name##_d, brng, 'd')->Apply(Sizes); \
  BENCHMARK_CAPTURE(scalar, scalar_##name##_d, 'd')->Apply(Sizes);

OXL_GENERATOR_BENCH(MCG31, OXL_BRNG_MCG31, ScalarMcg31Loop)
OXL_GENERATOR_BENCH(MCG59, OXL_BRNG_MCG59, ScalarMcg59Loop)
OXL_GENERATOR_BENCH(MRG32K3A, OXL_BRNG_MRG32K3A, ScalarMrgLoop)

BENCHMARK_CAPTURE(MinstdLoop, std_minstd_rand_i, 'i')->Apply(Sizes);
BENCHMARK_CAPTURE(MinstdLoop, std_minstd_rand_d, 'd')->Apply(Sizes);
BENCHMARK_CAPTURE(Mt19937Loop, std_mt19937_i, 'i')->Apply(Sizes);
BENCHMARK_CAPTURE(Mt19937Loop, std_mt19937_d, 'd')->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
