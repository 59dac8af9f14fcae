// Gaussian (each method) and Exponential numbers, double and float, beside std::normal_distribution
// and std::exponential_distribution over std::mt19937, all on MT19937 uniforms, at an L1-sized and
// a memory-sized request. numpy's standard_normal and standard_exponential run beside these
// through bench/vrs_vs_numpy.py. Compare items_per_second within a group: dist/oxl_<...> against
// dist/std_<...>.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "oxl/vrs.h"

namespace {

void DistSizes(benchmark::internal::Benchmark* b) { b->Arg(1000)->Arg(1000000); }

template <class T>
void Oxl(benchmark::State& state, int32_t (*gen)(StreamRecord*, int32_t, T*)) {
  const auto n = static_cast<int32_t>(state.range(0));
  StreamRecord* s = nullptr;
  const uint32_t seed = 777;
  __vrsNewStreamEx(&s, OXL_BRNG_MT19937, 1, &seed);
  std::vector<T> r(n);
  for (auto _ : state) {
    gen(s, n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  __vrsDeleteStream(&s);
}

template <class Dist>
void Std(benchmark::State& state) {
  using T = typename Dist::result_type;
  const auto n = static_cast<size_t>(state.range(0));
  std::mt19937 engine(777);
  Dist dist;
  std::vector<T> r(n);
  for (auto _ : state) {
    for (size_t i = 0; i < n; ++i) r[i] = dist(engine);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

template <int kMethod>
int32_t GaussianD(StreamRecord* s, int32_t n, double* r) {
  return _vrsdRngGaussian(kMethod, s, n, r, 0.0, 1.0);
}
template <int kMethod>
int32_t GaussianS(StreamRecord* s, int32_t n, float* r) {
  return _vrssRngGaussian(kMethod, s, n, r, 0.0f, 1.0f);
}
int32_t ExponentialD(StreamRecord* s, int32_t n, double* r) {
  return _vrsdRngExponential(0, s, n, r, 0.0, 1.0);
}
int32_t ExponentialS(StreamRecord* s, int32_t n, float* r) {
  return _vrssRngExponential(0, s, n, r, 0.0f, 1.0f);
}

// Names dist/<side>_<law>[_<method>]_<type>/<count>, which bench/vrs_vs_numpy.py reads.
const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("dist/oxl_gaussian_boxmuller_d", Oxl<double>, &GaussianD<0>)->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_gaussian_boxmuller2_d", Oxl<double>, &GaussianD<1>)->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_gaussian_icdf_d", Oxl<double>, &GaussianD<2>)->Apply(DistSizes);
  RegisterBenchmark("dist/std_gaussian_d", Std<std::normal_distribution<double>>)->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_gaussian_boxmuller_s", Oxl<float>, &GaussianS<0>)->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_gaussian_boxmuller2_s", Oxl<float>, &GaussianS<1>)->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_gaussian_icdf_s", Oxl<float>, &GaussianS<2>)->Apply(DistSizes);
  RegisterBenchmark("dist/std_gaussian_s", Std<std::normal_distribution<float>>)->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_exponential_d", Oxl<double>, &ExponentialD)->Apply(DistSizes);
  RegisterBenchmark("dist/std_exponential_d", Std<std::exponential_distribution<double>>)
      ->Apply(DistSizes);
  RegisterBenchmark("dist/oxl_exponential_s", Oxl<float>, &ExponentialS)->Apply(DistSizes);
  RegisterBenchmark("dist/std_exponential_s", Std<std::exponential_distribution<float>>)
      ->Apply(DistSizes);
  return true;
}();

}  // namespace
