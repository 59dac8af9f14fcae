// Data fitting beside its peers: hybrid cell search against a std::upper_bound loop, linear
// interpolation against GSL's gsl_interp_eval loop (numpy.interp through bench/df_vs_numpy.py),
// each on one thread and on the OpenMP services; interpolation and integration of sorted sites
// (SITES_SORTED) against GSL's loops with their accelerator, which serves sorted sites.
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

// A linear spline on `knots` knots with random steps, kSites sites spread over them (sorted or
// not), and right limits a few cells beyond each site.
struct Data {
  std::vector<double> x, y, sites, right, coeff;
  df_task* task = nullptr;
  Data(int64_t knots, uint64_t seed, bool sorted)
      : x(knots), y(knots), sites(kSites), right(kSites), coeff(2 * (knots - 1)) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    double v = 0;
    for (int64_t i = 0; i < knots; ++i) {
      x[i] = v;
      y[i] = u(rng);
      v += 0.5 + u(rng);
    }
    for (double& s : sites) s = x.front() + u(rng) * (x.back() - x.front());
    if (sorted) std::sort(sites.begin(), sites.end());
    for (int64_t i = 0; i < kSites; ++i) right[i] = std::min(sites[i] + 3.0, x.back());
    oxl_df_kernel_dNewTask1D(&task, knots, x.data(), PARTITION_NO_HINT, 1, y.data(), 0, 1);
    oxl_df_kernel_dEditPPSpline1D(task, 2, 0, 0, nullptr, 0, nullptr, coeff.data(), 0);
    oxl_df_kernel_dDFLinearSpline1D(task, 0, 0, nullptr);
  }
  ~Data() { oxl_df_kernel_DeleteTask(&task); }
};

Data& Shared() {
  static Data data(kKnots, 42, false);
  return data;
}

// 10^6 sorted sites on 10^6 knots.
Data& Sorted() {
  static Data data(1000000, 7, true);
  return data;
}

// GSL's linear interpolant over (x, y) with an accelerator, evaluated by `eval(interp, accel, i)`
// for each site i.
template <class Eval>
void GslLoop(benchmark::State& state, const std::vector<double>& x, const std::vector<double>& y,
             const Eval& eval) {
  gsl_interp* interp = gsl_interp_alloc(gsl_interp_linear, x.size());
  gsl_interp_init(interp, x.data(), y.data(), x.size());
  gsl_interp_accel* accel = gsl_interp_accel_alloc();
  std::vector<double> out(kSites);
  for (auto _ : state) {
    for (int64_t i = 0; i < kSites; ++i) out[i] = eval(interp, accel, i);
    benchmark::DoNotOptimize(out.data());
  }
  gsl_interp_accel_free(accel);
  gsl_interp_free(interp);
  state.SetItemsProcessed(state.iterations() * kSites);
}

// Runs with no services (0), then with the OpenMP services on one and on two threads.
void ThreadArgs(benchmark::internal::Benchmark* b) {
  b->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
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
BENCHMARK(BM_HybridSearch)->Apply(ThreadArgs);

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

// Linear interpolation of the sites of `d` under `site_hint`.
void Interpolate(benchmark::State& state, Data& d, int64_t site_hint) {
  const thread_services* services = Services(state.range(0));
  std::vector<double> out(kSites);
  const int64_t dorder[1] = {1};
  for (auto _ : state) {
    oxl_df_kernel_dDFInterpolate1D(d.task, 0, 0, kSites, d.sites.data(), site_hint, 1, dorder,
                                   nullptr, out.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, services);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}

void BM_LinearInterpolate(benchmark::State& state) { Interpolate(state, Shared(), SITES_NO_HINT); }
BENCHMARK(BM_LinearInterpolate)->Apply(ThreadArgs);

// GSL's interpolation of the sites of `d`, the peer of Interpolate.
void GslInterpolate(benchmark::State& state, Data& d) {
  GslLoop(state, d.x, d.y, [&d](gsl_interp* interp, gsl_interp_accel* accel, int64_t i) {
    return gsl_interp_eval(interp, d.x.data(), d.y.data(), d.sites[i], accel);
  });
}

void BM_GslInterpEval(benchmark::State& state) { GslInterpolate(state, Shared()); }
BENCHMARK(BM_GslInterpEval)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SortedInterpolate(benchmark::State& state) { Interpolate(state, Sorted(), SITES_SORTED); }
BENCHMARK(BM_SortedInterpolate)->Apply(ThreadArgs);

void BM_GslSortedInterpEval(benchmark::State& state) { GslInterpolate(state, Sorted()); }
BENCHMARK(BM_GslSortedInterpEval)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SortedIntegrate(benchmark::State& state) {
  Data& d = Sorted();
  const thread_services* services = Services(state.range(0));
  std::vector<double> out(kSites);
  for (auto _ : state) {
    oxl_df_kernel_dDFIntegrate1D(d.task, 0, kSites, d.sites.data(), SITES_SORTED, d.right.data(),
                                 SITES_SORTED, nullptr, nullptr, out.data(), 0, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, services);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}
BENCHMARK(BM_SortedIntegrate)->Apply(ThreadArgs);

void BM_GslSortedIntegEval(benchmark::State& state) {
  Data& d = Sorted();
  GslLoop(state, d.x, d.y, [&d](gsl_interp* interp, gsl_interp_accel* accel, int64_t i) {
    return gsl_interp_eval_integ(interp, d.x.data(), d.y.data(), d.sites[i], d.right[i], accel);
  });
}
BENCHMARK(BM_GslSortedIntegEval)->Unit(benchmark::kMillisecond)->UseRealTime();

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
