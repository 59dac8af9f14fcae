// The counter-based generators: iBRng and dBRng of PHILOX4X32X10 and ARS5 beside Random123's
// philox4x32 and ars4x32 (5 rounds, AES-NI) called one block at a time in a plain loop, the way
// its documentation shows, with the same word-to-double mapping; and R250 beside GSL's
// gsl_rng_r250, one word per call. Compare items_per_second (words or doubles) within a group:
// oxl/<gen>/<form> against r123/<gen>/<form> or gsl/<gen>/<form>.
// bench/counter_vs_numpy.py runs this beside numpy's Generator(Philox()).
#include <Random123/ars.h>
#include <Random123/philox.h>
#include <benchmark/benchmark.h>
#include <gsl/gsl_rng.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "oxl/vrs.h"
#include "vrs/streams/stream_record.h"

namespace {

constexpr double kA = -1.0;
constexpr double kB = 3.0;

void Library(benchmark::State& state, int32_t id, char form) {
  const auto n = static_cast<int32_t>(state.range(0));
  StreamRecord* s = nullptr;
  const uint32_t seed[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  __vrsNewStreamEx(&s, id, 8, seed);
  const BrngRecord& row = oxl::vrs::RowOf(s);
  std::vector<uint32_t> words(static_cast<size_t>(n));
  std::vector<double> reals(static_cast<size_t>(n));
  for (auto _ : state) {
    if (form == 'i') {
      row.iBRng(s, n, words.data());
      benchmark::DoNotOptimize(words.data());
    } else {
      row.dBRng(s, n, reals.data(), kA, kB);
      benchmark::DoNotOptimize(reals.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  __vrsDeleteStream(&s);
}

// One Random123 block per call, counter bumped by one, four words out.
struct R123Philox {
  philox4x32_ctr_t c = {{5, 6, 7, 8}};
  philox4x32_key_t k = {{1, 2}};
  philox4x32_ctr_t Next() {
    const philox4x32_ctr_t r = philox4x32_R(10, c, k);
    ++c.v[0];
    return r;
  }
};
struct R123Ars {
  ars4x32_ctr_t c = {{5, 6, 7, 8}};
  ars4x32_key_t k = {{1, 2, 3, 4}};
  ars4x32_ctr_t Next() {
    const ars4x32_ctr_t r = ars4x32_R(5, c, k);
    ++c.v[0];
    return r;
  }
};

template <class Gen>
void Random123(benchmark::State& state, char form) {
  const auto n = static_cast<size_t>(state.range(0));
  Gen g;
  std::vector<uint32_t> words(n);
  std::vector<double> reals(n);
  const double scale = (kB - kA) * 0x1p-32, centre = (kA + kB) * 0.5;
  for (auto _ : state) {
    if (form == 'i') {
      for (size_t i = 0; i < n; i += 4) {
        const auto r = g.Next();
        for (size_t k = 0; k < 4; ++k) words[i + k] = r.v[k];
      }
      benchmark::DoNotOptimize(words.data());
    } else {
      for (size_t i = 0; i < n; i += 4) {
        const auto r = g.Next();
        for (size_t k = 0; k < 4; ++k)
          reals[i + k] = std::fma(static_cast<double>(static_cast<int32_t>(r.v[k])), scale, centre);
      }
      benchmark::DoNotOptimize(reals.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

// GSL's R250 (the same recurrence, its own seeding), a word per call through its generic entry.
void Gsl(benchmark::State& state, char form) {
  const auto n = static_cast<size_t>(state.range(0));
  gsl_rng* g = gsl_rng_alloc(gsl_rng_r250);
  std::vector<uint32_t> words(n);
  std::vector<double> reals(n);
  const double scale = (kB - kA) * 0x1p-32;
  for (auto _ : state) {
    if (form == 'i') {
      for (size_t i = 0; i < n; ++i) words[i] = static_cast<uint32_t>(gsl_rng_get(g));
      benchmark::DoNotOptimize(words.data());
    } else {
      for (size_t i = 0; i < n; ++i)
        reals[i] = std::fma(static_cast<double>(gsl_rng_get(g)), scale, kA);
      benchmark::DoNotOptimize(reals.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
  gsl_rng_free(g);
}

void Philox(benchmark::State& state, char form) { Random123<R123Philox>(state, form); }
void Ars(benchmark::State& state, char form) { Random123<R123Ars>(state, form); }

void Sizes(benchmark::internal::Benchmark* b) { b->Arg(1024)->Arg(65536); }

// The names are paths, not divisions.
// clang-format off
#define OXL_COUNTER_BENCH(name, id, peer, side)                  \
  BENCHMARK_CAPTURE(Library, oxl/name/i, id, 'i')->Apply(Sizes); \
  BENCHMARK_CAPTURE(peer, side/name/i, 'i')->Apply(Sizes);       \
  BENCHMARK_CAPTURE(Library, oxl/name/d, id, 'd')->Apply(Sizes); \
  BENCHMARK_CAPTURE(peer, side/name/d, 'd')->Apply(Sizes);

OXL_COUNTER_BENCH(philox4x32x10, OXL_BRNG_PHILOX4X32X10, Philox, r123)
OXL_COUNTER_BENCH(ars5, OXL_BRNG_ARS5, Ars, r123)
OXL_COUNTER_BENCH(r250, OXL_BRNG_R250, Gsl, gsl)
// clang-format on

}  // namespace

BENCHMARK_MAIN();
