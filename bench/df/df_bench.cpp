// Data fitting beside its peers: hybrid cell search against a std::upper_bound loop, linear
// interpolation against GSL's gsl_interp_eval loop (numpy.interp through bench/df_vs_numpy.py),
// each on one thread and on the OpenMP services.
#include <benchmark/benchmark.h>
#include <gsl/gsl_interp.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "oxl/df.h"
#include "oxl/omp_services.h"

namespace {

constexpr int64_t kKnots = 100000;
constexpr int64_t kSites = 1000000;

struct Data {
  std::vector<double> x, y, sites, coeff;
  df_task* task = nullptr;
  Data() : x(kKnots), y(kKnots), sites(kSites), coeff(2 * (kKnots - 1)) {
    std::mt19937_64 rng(42);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    double v = 0;
    for (int64_t i = 0; i < kKnots; ++i) {
      x[i] = v;
      y[i] = u(rng);
      v += 0.5 + u(rng);
    }
    for (double& s : sites) s = x.front() + u(rng) * (x.back() - x.front());
    oxl_df_kernel_dNewTask1D(&task, kKnots, x.data(), PARTITION_NO_HINT, 1, y.data(), 0, 1);
    oxl_df_kernel_dEditPPSpline1D(task, 2, 0, 0, nullptr, 0, nullptr, coeff.data(), 0);
    oxl_df_kernel_dDFLinearSpline1D(task, 0, 0, nullptr);
  }
  ~Data() { oxl_df_kernel_DeleteTask(&task); }
};

Data& Shared() {
  static Data data;
  return data;
}

// Threads: 0 means no services (the calling thread alone).
const thread_services* Services(int64_t threads) {
  if (threads == 0) return nullptr;
  oxl_services_set_num_threads(static_cast<int32_t>(threads));
  return oxl_services_omp_df();
}

void BM_HybridSearch(benchmark::State& state) {
  Data& d = Shared();
  const thread_services* services = Services(state.range(0));
  std::vector<int64_t> cells(kSites);
  for (auto _ : state) {
    oxl_df_kernel_dDFSearch1D(d.task, 0, kSites, d.sites.data(), 0, nullptr, cells.data(), nullptr,
                              nullptr, services);
    benchmark::DoNotOptimize(cells.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}
BENCHMARK(BM_HybridSearch)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_UpperBoundSearch(benchmark::State& state) {
  Data& d = Shared();
  std::vector<int64_t> cells(kSites);
  for (auto _ : state) {
    for (int64_t i = 0; i < kSites; ++i) {
      cells[i] = std::upper_bound(d.x.begin(), d.x.end(), d.sites[i]) - d.x.begin();
    }
    benchmark::DoNotOptimize(cells.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}
BENCHMARK(BM_UpperBoundSearch)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LinearInterpolate(benchmark::State& state) {
  Data& d = Shared();
  const thread_services* services = Services(state.range(0));
  std::vector<double> out(kSites);
  const int64_t dorder[1] = {1};
  for (auto _ : state) {
    oxl_df_kernel_dDFInterpolate1D(d.task, 0, 0, kSites, d.sites.data(), 0, 1, dorder, nullptr,
                                   out.data(), 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, services);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}
BENCHMARK(BM_LinearInterpolate)
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_GslInterpEval(benchmark::State& state) {
  Data& d = Shared();
  gsl_interp* interp = gsl_interp_alloc(gsl_interp_linear, kKnots);
  gsl_interp_init(interp, d.x.data(), d.y.data(), kKnots);
  gsl_interp_accel* accel = gsl_interp_accel_alloc();
  std::vector<double> out(kSites);
  for (auto _ : state) {
    for (int64_t i = 0; i < kSites; ++i) {
      out[i] = gsl_interp_eval(interp, d.x.data(), d.y.data(), d.sites[i], accel);
    }
    benchmark::DoNotOptimize(out.data());
  }
  gsl_interp_accel_free(accel);
  gsl_interp_free(interp);
  state.SetItemsProcessed(state.iterations() * kSites);
}
BENCHMARK(BM_GslInterpEval)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LinearConstruct(benchmark::State& state) {
  Data& d = Shared();
  const thread_services* services = Services(state.range(0));
  for (auto _ : state) {
    oxl_df_kernel_dDFLinearSpline1D(d.task, 0, 0, services);
    benchmark::DoNotOptimize(d.coeff.data());
  }
  state.SetItemsProcessed(state.iterations() * kKnots);
}
BENCHMARK(BM_LinearConstruct)->Arg(0)->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
