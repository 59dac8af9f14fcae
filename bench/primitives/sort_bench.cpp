// Sorts of floats and doubles: oxl's radix sort beside std::sort and Highway's vqsort, on the same
// standard normal data (bench/sort_vs_numpy.py adds numpy's sort). Each iteration sorts a fresh
// copy; the copy is not timed. CPU time, as the numpy script counts it.
#include <benchmark/benchmark.h>
#include <hwy/contrib/sort/vqsort.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "oxl/primitives.h"

namespace {

template <class T>
std::vector<T> NormalData(size_t n) {
  std::mt19937_64 rng(42);
  std::normal_distribution<T> normal;
  std::vector<T> v(n);
  for (T& x : v) x = normal(rng);
  return v;
}

template <class T, class Sort>
void Run(benchmark::State& state, Sort sort) {
  const size_t n = static_cast<size_t>(state.range(0));
  const std::vector<T> data = NormalData<T>(n);
  std::vector<T> work(n), scratch(n);
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(work.data(), data.data(), n * sizeof(T));
    state.ResumeTiming();
    sort(work.data(), scratch.data(), n);
    benchmark::DoNotOptimize(work.data());
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}

template <class T>
void Radix(benchmark::State& state) {
  Run<T>(state, [](T* data, T* scratch, size_t n) {
    if constexpr (sizeof(T) == 4) {
      oxl_dft_avx2_pvksSortRadixAscend_32f_I(data, scratch, static_cast<int32_t>(n));
    } else {
      oxl_dft_avx2_pvksSortRadixAscend_64f_I(data, scratch, static_cast<int32_t>(n));
    }
  });
}

template <class T>
void StdSort(benchmark::State& state) {
  Run<T>(state, [](T* data, T*, size_t n) { std::sort(data, data + n); });
}

template <class T>
void VQSort(benchmark::State& state) {
  static const hwy::Sorter sorter;
  Run<T>(state, [](T* data, T*, size_t n) { sorter(data, n, hwy::SortAscending()); });
}

#define SORT_SIZES ->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)
BENCHMARK(Radix<float>) SORT_SIZES;
BENCHMARK(StdSort<float>) SORT_SIZES;
BENCHMARK(VQSort<float>) SORT_SIZES;
BENCHMARK(Radix<double>) SORT_SIZES;
BENCHMARK(StdSort<double>) SORT_SIZES;
BENCHMARK(VQSort<double>) SORT_SIZES;

}  // namespace

BENCHMARK_MAIN();
