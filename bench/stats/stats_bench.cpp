// Moments, covariance and quantiles of 10 dimensions by 10^6 observations, the shape of the
// comparison with numpy (bench/stats_vs_numpy.py runs both sides and prints the ratios). Arguments:
// storage (0 rows, 1 columns), threads of the OpenMP services. The results are the same bits on
// one thread and on two.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "oxl/omp_services.h"
#include "oxl/ss.h"

namespace {

constexpr int64_t kP = 10;
constexpr int64_t kN = 1000000;

const std::vector<double>& Data() {
  static const std::vector<double> x = [] {
    std::vector<double> v(kP * kN);
    std::mt19937_64 gen(1);
    std::normal_distribution<double> g(0.0, 1.0);
    for (auto& e : v) e = 10.0 + g(gen);
    return v;
  }();
  return x;
}

void Run(benchmark::State& state, uint64_t estimates, uint64_t method) {
  int64_t p = kP, n = kN;
  int64_t storage = state.range(0) == 0 ? STORAGE_ROWS : STORAGE_COLS;
  int64_t full = MATRIX_FULL;
  std::vector<double> mean(kP, 2.0), raw2(kP), c2(kP), cov(kP * kP), accum(2);
  SSTask* task = nullptr;
  __vrsdSSNewTask(&task, &p, &n, &storage, Data().data(), nullptr, nullptr, 1);
  __vrsdSSEditMoments(task, mean.data(), raw2.data(), nullptr, nullptr, c2.data(), nullptr,
                      nullptr);
  __vrsdSSEditCovCor(task, nullptr, cov.data(), &full, nullptr, nullptr);
  __vrsdSSEditTask(task, SS_ED_ACCUM_WEIGHT, accum.data());
  oxl_services_set_num_threads(int32_t(state.range(1)));
  for (auto _ : state) {
    accum[0] = accum[1] = 0.0;
    if (_vrsdSSBasic(task, estimates, method, oxl_services_omp_ss()) != 0) {
      state.SkipWithError("status");
      break;
    }
    benchmark::DoNotOptimize(c2.data());
    benchmark::DoNotOptimize(cov.data());
  }
  oxl_services_set_num_threads(0);
  state.SetItemsProcessed(state.iterations() * kP * kN);
  __vrsSSDeleteTask(&task);
}

void MeanVarOnePass(benchmark::State& s) { Run(s, EST_MEAN | EST_CENTRAL2, METHOD_ONE_PASS); }
void MeanVarFast(benchmark::State& s) { Run(s, EST_MEAN | EST_CENTRAL2, METHOD_SUMS); }
void CovFast(benchmark::State& s) { Run(s, EST_COV, METHOD_SUMS); }
void CovOnePass(benchmark::State& s) { Run(s, EST_COV, METHOD_ONE_PASS); }
void AllMomentsOnePass(benchmark::State& s) {
  Run(s, EST_MEAN | EST_CENTRAL2 | EST_CENTRAL3 | EST_CENTRAL4 | EST_RAW2, METHOD_ONE_PASS);
}

// Five quantiles of each dimension: exactly (order statistics by selection), and approximately
// (epsilon 0.01) from the same observations handed to the streaming entry in 100 blocks.
const std::vector<double> kOrders = {0.05, 0.25, 0.5, 0.75, 0.95};

// A task over the whole data in the storage of range(0), set up by edit(task), and entry(task)
// timed on range(1) threads.
template <class Edit, class Entry>
void WholeData(benchmark::State& state, Edit edit, Entry entry) {
  int64_t p = kP, n = kN;
  int64_t storage = state.range(0) == 0 ? STORAGE_ROWS : STORAGE_COLS;
  SSTask* task = nullptr;
  __vrsdSSNewTask(&task, &p, &n, &storage, Data().data(), nullptr, nullptr, 1);
  edit(task);
  oxl_services_set_num_threads(int32_t(state.range(1)));
  for (auto _ : state) {
    if (entry(task) != 0) {
      state.SkipWithError("status");
      break;
    }
  }
  oxl_services_set_num_threads(0);
  state.SetItemsProcessed(state.iterations() * kP * kN);
  __vrsSSDeleteTask(&task);
}

void Quantiles(benchmark::State& state) {
  int64_t count = 5;
  std::vector<double> orders = kOrders, quantiles(kP * 5);
  WholeData(
      state,
      [&](SSTask* task) {
        __vrsdSSEditQuantiles(task, &count, orders.data(), quantiles.data(), nullptr, nullptr);
      },
      [&](SSTask* task) {
        benchmark::DoNotOptimize(quantiles.data());
        return _vrsdSSQuantiles(task, EST_QUANTILES, METHOD_SUMS, oxl_services_omp_ss());
      });
}

void StreamQuantiles(benchmark::State& state) {
  constexpr int64_t kBlocks = 100;
  int64_t p = kP, n = kN / kBlocks, count = 5, one = 1;
  const bool rows = state.range(0) == 0;
  int64_t storage = rows ? STORAGE_ROWS : STORAGE_COLS;
  std::vector<double> orders = kOrders, quantiles(kP * 5), epsilon = {0.01};
  // Each block in the storage's layout: a dimension's run of n, or n observations of p.
  std::vector<std::vector<double>> blocks(kBlocks, std::vector<double>(kP * n));
  for (int64_t k = 0; k < kBlocks; ++k) {
    for (int64_t d = 0; d < kP; ++d) {
      for (int64_t j = 0; j < n; ++j) {
        blocks[k][rows ? d * n + j : j * kP + d] = Data()[d * kN + k * n + j];
      }
    }
  }
  oxl_services_set_num_threads(int32_t(state.range(1)));
  for (auto _ : state) {
    SSTask* task = nullptr;
    __vrsdSSNewTask(&task, &p, &n, &storage, blocks[0].data(), nullptr, nullptr, 1);
    __vrsdSSEditStreamQuantiles(task, &count, orders.data(), quantiles.data(), &one,
                                epsilon.data());
    for (int64_t k = 0; k < kBlocks; ++k) {
      __vrsdSSEditTask(task, SS_ED_OBSERV, blocks[k].data());
      const uint64_t method = k + 1 < kBlocks ? METHOD_STREAM_B : METHOD_STREAM_A;
      if (_vrsdSSStreamQuantiles(task, 0, method, oxl_services_omp_ss()) != 0) {
        state.SkipWithError("status");
        break;
      }
    }
    benchmark::DoNotOptimize(quantiles.data());
    __vrsSSDeleteTask(&task);
  }
  oxl_services_set_num_threads(0);
  state.SetItemsProcessed(state.iterations() * kP * kN);
}

// Median absolute deviation of each dimension: the median of |x - median|, two medians a dimension.
void MedianAbsDev(benchmark::State& state) {
  std::vector<double> mad(kP);
  WholeData(
      state, [&](SSTask* task) { __vrsdSSEditTask(task, SS_ED_MDAD, mad.data()); },
      [&](SSTask* task) {
        benchmark::DoNotOptimize(mad.data());
        return _vrsdSSMAD(task, EST_MEDIAN_ABS_DEV, METHOD_SUMS, oxl_services_omp_ss());
      });
}

void Args(benchmark::internal::Benchmark* b) {
  for (int storage : {0, 1}) {
    for (int threads : {1, 2}) b->Args({storage, threads});
  }
  b->ArgNames({"cols", "threads"})->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(MeanVarOnePass)->Apply(Args);
BENCHMARK(MeanVarFast)->Apply(Args);
BENCHMARK(CovFast)->Apply(Args);
BENCHMARK(CovOnePass)->Apply(Args);
BENCHMARK(AllMomentsOnePass)->Apply(Args);
BENCHMARK(Quantiles)->Apply(Args);
BENCHMARK(StreamQuantiles)->Apply(Args);
BENCHMARK(MedianAbsDev)->Apply(Args);

}  // namespace

BENCHMARK_MAIN();
