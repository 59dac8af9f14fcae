// Natural cubic splines on the scale of scipy's CubicSpline benchmarks: construction on 10^6
// knots, evaluation at 10^6 random sites (on that spline, where finding the cell is a walk through
// memory, and on one of 10^4 knots, which stay in cache), integration over 10^5 random limit pairs
// (on a spline of 1000 knots, so that a pair spans some 300 cells). bench/df_cubic_vs_scipy.py runs
// this binary beside scipy on data of the same shape. Arguments /0: no thread services, /N: the
// OpenMP services with N threads.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "oxl/df.h"
#include "oxl/omp_services.h"

namespace {

constexpr int64_t kKnots = 1000000;
constexpr int64_t kSites = 1000000;
constexpr int64_t kIntegrKnots = 1000;
constexpr int64_t kMidKnots = 10000;
constexpr int64_t kPairs = 100000;

struct Spline {
  std::vector<double> x, y, coeff;
  df_task* task = nullptr;
  Spline(int64_t n, uint64_t seed) : x(n), y(n), coeff(4 * (n - 1)) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    double v = 0;
    for (int64_t i = 0; i < n; ++i) {
      x[i] = v;
      y[i] = u(rng);
      v += 0.5 + u(rng);
    }
    oxl_df_kernel_dNewTask1D(&task, n, x.data(), PARTITION_NONUNIFORM, 1, y.data(), VALUES_ROWS, 1);
    oxl_df_kernel_dEditPPSpline1D(task, SPLINE_ORDER_CUBIC, SPLINE_TYPE_NATURAL, BC_FREE_END,
                                  nullptr, IC_NONE, nullptr, coeff.data(), COEFFICIENTS_ROWS);
    oxl_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, nullptr);
  }
  ~Spline() { oxl_df_kernel_DeleteTask(&task); }
};

Spline& Big() {
  static Spline s(kKnots, 42);
  return s;
}
Spline& Small() {
  static Spline s(kIntegrKnots, 7);
  return s;
}
Spline& Mid() {
  static Spline s(kMidKnots, 11);
  return s;
}

const thread_services* Services(int64_t threads) {
  if (threads == 0) return nullptr;
  oxl_services_set_num_threads(static_cast<int32_t>(threads));
  return oxl_services_omp_df();
}

std::vector<double> Uniform(int64_t count, double lo, double hi, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(lo, hi);
  std::vector<double> v(count);
  for (double& s : v) s = u(rng);
  return v;
}

void BM_NaturalConstruct(benchmark::State& state) {
  Spline& s = Big();
  for (auto _ : state) {
    oxl_df_kernel_dDFNaturalCubicSpline1D(s.task, 0, 0, nullptr);
    benchmark::DoNotOptimize(s.coeff.data());
  }
  state.SetItemsProcessed(state.iterations() * kKnots);
}
BENCHMARK(BM_NaturalConstruct)->Unit(benchmark::kMillisecond)->UseRealTime();

// Arguments: threads; 1 for the spline of 10^6 knots, 0 for the one of 10^4.
void BM_CubicInterpolate(benchmark::State& state) {
  Spline& s = state.range(1) != 0 ? Big() : Mid();
  const thread_services* services = Services(state.range(0));
  const std::vector<double> sites = Uniform(kSites, s.x.front(), s.x.back(), 1);
  std::vector<double> out(kSites);
  for (auto _ : state) {
    oxl_df_kernel_dDFInterpolate1D(s.task, 0, 0, kSites, sites.data(), SITES_NO_HINT, 0, nullptr,
                                   nullptr, out.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, services);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}
BENCHMARK(BM_CubicInterpolate)
    ->Args({0, 1})
    ->Args({2, 1})
    ->Args({0, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_CubicIntegrate(benchmark::State& state) {
  Spline& s = Small();
  const thread_services* services = Services(state.range(0));
  const std::vector<double> l = Uniform(kPairs, s.x.front(), s.x.back(), 2);
  const std::vector<double> r = Uniform(kPairs, s.x.front(), s.x.back(), 3);
  std::vector<double> out(kPairs);
  for (auto _ : state) {
    oxl_df_kernel_dDFIntegrate1D(s.task, 0, kPairs, l.data(), 0, r.data(), 0, nullptr, nullptr,
                                 out.data(), 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, services);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPairs);
}
BENCHMARK(BM_CubicIntegrate)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
