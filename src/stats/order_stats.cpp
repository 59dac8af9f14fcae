// Quantiles, order statistics and sorted copies of each included dimension. A dimension is sorted
// into its place among the order statistics or in the sorted copy; quantiles without order
// statistics select the order statistics they need by brackets (bracket_select.h) when the
// dimension is long and the orders few, else sort a scratch copy for two orders or more and select
// the two neighbouring order statistics of a single order. The quantile of order b is s[i] + f
// (s[j] - s[i]) with t = (n - 1) b, i = floor(t), f = t - i and j = min(i + 1, n - 1). Dimensions
// are the items of the caller's for-each-item service; each depends on its own data alone, so every
// thread count gives the same bits.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "oxl/primitives.h"
#include "oxl/ss.h"
#include "platform/checked_size.h"
#include "platform/scratch.h"
#include "numeric/helpers.h"
#include "stats/bracket_select.h"
#include "stats/task.h"

namespace oxl::stats {
namespace {

template <class T>
struct Sorts;
template <>
struct Sorts<double> {
  static int32_t Radix(double* a, double* scratch, int32_t n) {
    return oxl_dft_avx2_pvksSortRadixAscend_64f_I(a, scratch, n);
  }
  static void Quick(int64_t n, double* a) { __vrsdQSort(n, a); }
  static double Select(int64_t n, double* a, int64_t k) { return __vrsdQSortSelect(n, a, k); }
};
template <>
struct Sorts<float> {
  static int32_t Radix(float* a, float* scratch, int32_t n) {
    return oxl_dft_avx2_pvksSortRadixAscend_32f_I(a, scratch, n);
  }
  static void Quick(int64_t n, float* a) { __vrssQSort(n, a); }
  static float Select(int64_t n, float* a, int64_t k) { return __vrssQSortSelect(n, a, k); }
};

template <class T>
struct Job {
  int64_t p, n, count;
  const int64_t* dims;
  const T* x;
  bool rows;
  T* sorted;  // order statistics or sorted copy; null when not wanted
  bool sorted_rows;
  const T* orders;  // null when no quantiles are wanted
  T* quantiles;
  T* scratch;  // per thread: n elements, 2n when the sorted copy is strided
  int64_t scratch_stride;
  // The items' keys (see bracket_select.h), n apart, when made for all of them at once.
  std::conditional_t<sizeof(T) == 8, int64_t, int32_t>* keys;
  // Absolute deviations: from the median (median true) or from the mean, given or weighted.
  bool median;
  const T* mean;
  const T* weights;
  T* deviations;
};

// Sorts the n values at src (stride `from`) into out (stride `to`; out may be src). A contiguous
// output is sorted where it stands and a strided one through the scratch, so that every layout
// gets the radix sort's order, -0 before +0 among the equal zeros.
template <class T>
void SortedCopy(const T* src, int64_t from, T* out, int64_t to, int64_t n, T* scratch) {
  T* work = to == 1 ? out : scratch;
  if (work != src) {
    for (int64_t k = 0; k < n; ++k) work[k] = src[k * from];
  }
  if (n <= INT32_MAX) {
    Sorts<T>::Radix(work, to == 1 ? scratch : scratch + n, static_cast<int32_t>(n));
  } else {
    Sorts<T>::Quick(n, work);
  }
  if (to != 1) {
    for (int64_t k = 0; k < n; ++k) out[k * to] = work[k];
  }
}

// Orders from which quantiles without order statistics sort a copy rather than select.
constexpr int64_t kSortFromOrders = 2;

// The place of order b between the order statistics: i and j, and the weight f of s[j].
struct Place {
  int64_t i, j;
  double f;
};
inline Place PlaceOf(int64_t n, double b) {
  const double m = static_cast<double>(n - 1);
  const double i = std::trunc(m * b);
  const int64_t k = static_cast<int64_t>(i);
  return {k, std::min(k + 1, n - 1), std::fma(m, b, -i)};
}

template <class T>
T Between(T lo, T hi, double f) {
  return std::fma(static_cast<T>(f), hi - lo, lo);
}

// The quantile of order b of the n values of a, by selecting its lower order statistic i and
// taking the upper one as the least value right of it; a is reordered.
template <class T>
T SelectQuantile(int64_t n, T* a, double b) {
  const Place at = PlaceOf(n, b);
  const T lo = Sorts<T>::Select(n, a, at.i);
  if (at.j == at.i) return lo;
  T hi = a[at.j];
  for (int64_t k = at.j + 1; k < n; ++k) hi = a[k] < hi ? a[k] : hi;
  return Between(lo, hi, at.f);
}

// Whether quantiles of n observations select by brackets.
template <class T>
bool ByBrackets(const Job<T>& job, int64_t n) {
  return job.count <= kMaxRanks / 2 && n >= kBracketMinCount;
}

// The quantiles of n values from the order statistics they need, selected by brackets by
// select(ranks, count, values); false, with nothing written, when the brackets do not serve.
template <class T, class Select>
bool BracketQuantiles(const Job<T>& job, int64_t n, Select select, T* result) {
  if (!ByBrackets(job, n)) return false;
  int64_t ranks[kMaxRanks];
  int count = 0;
  for (int64_t q = 0; q < job.count; ++q) {
    const Place at = PlaceOf(n, static_cast<double>(job.orders[q]));
    ranks[count++] = at.i;
    ranks[count++] = at.j;
  }
  std::sort(ranks, ranks + count);
  count = static_cast<int>(std::unique(ranks, ranks + count) - ranks);
  T values[kMaxRanks];
  if (!select(ranks, count, values)) return false;
  const auto value = [&](int64_t rank) {
    return values[std::lower_bound(ranks, ranks + count, rank) - ranks];
  };
  for (int64_t q = 0; q < job.count; ++q) {
    const Place at = PlaceOf(n, static_cast<double>(job.orders[q]));
    result[q] = Between(value(at.i), value(at.j), at.f);
  }
  return true;
}

// The quantiles of n sorted values at s (stride).
template <class T>
void QuantilesOfSorted(const Job<T>& job, const T* s, int64_t stride, int64_t n, T* result) {
  for (int64_t q = 0; q < job.count; ++q) {
    const Place at = PlaceOf(n, static_cast<double>(job.orders[q]));
    result[q] = Between(s[at.i * stride], s[at.j * stride], at.f);
  }
}

template <class T>
int32_t Dimension(int64_t item, int32_t thread, void* /*reserved*/, void* context) {
  const Job<T>& job = *static_cast<const Job<T>*>(context);
  const int64_t d = job.dims[item], n = job.n;
  T* scratch = job.scratch + thread * job.scratch_stride;
  T* result = job.quantiles == nullptr ? nullptr : job.quantiles + d * job.count;
  int64_t x_stride = job.rows ? 1 : job.p;
  const T* src = job.x + (job.rows ? d * n : d);
  if (job.keys != nullptr) {
    auto* keys = job.keys + item * n;
    const auto select = [&](const int64_t* ranks, int count, T* values) {
      return SelectKeyRanks(keys, n, ranks, count, reinterpret_cast<decltype(keys)>(scratch),
                            values);
    };
    if (BracketQuantiles(job, n, select, result)) return 0;
    // A missed bracket: the keys, turned back into the values, take the ways below.
    ValuesOfKeys(keys, n);
    src = reinterpret_cast<const T*>(keys);
    x_stride = 1;
  } else if (job.sorted != nullptr) {
    const int64_t stride = job.sorted_rows ? 1 : job.p;
    T* s = job.sorted + (job.sorted_rows ? d * n : d);
    SortedCopy(src, x_stride, s, stride, n, scratch);
    if (job.orders != nullptr) QuantilesOfSorted(job, s, stride, n, result);
    return 0;
  } else {
    const auto select = [&](const int64_t* ranks, int count, T* values) {
      return SelectRanks(src, x_stride, n, ranks, count, scratch, values);
    };
    if (BracketQuantiles(job, n, select, result)) return 0;
  }
  if (job.count >= kSortFromOrders && n <= INT32_MAX) {
    // Several orders: one radix sort of a copy costs less than their selections.
    SortedCopy(src, x_stride, scratch, 1, n, scratch + n);
    QuantilesOfSorted(job, scratch, 1, n, result);
    return 0;
  }
  for (int64_t k = 0; k < n; ++k) scratch[k] = src[k * x_stride];
  for (int64_t q = 0; q < job.count; ++q) {
    result[q] = SelectQuantile(n, scratch, double(job.orders[q]));
  }
  return 0;
}

// The dimension, observation count and data of the task, checked.
template <class T>
int ReadShape(const SSTask& task, Job<T>& job) {
  if (const int status = stats::ReadShape(task, job.p, job.n); status != 0) return status;
  job.x = static_cast<const T*>(task.x);
  job.rows = ReadIndex(task, task.xStorage) == STORAGE_ROWS || job.p == 1;
  if (job.p == 1) job.sorted_rows = true;
  return 0;
}

// Bytes of scratch that all threads together may take, for a thread count the services allow:
// quantiles keep within 64 MiB a thread, sorted copies within 1 GiB a thread.
constexpr int64_t QuantileScratch(int64_t threads) { return threads << 26; }
constexpr int64_t SortScratch(int64_t threads) { return threads << 30; }

// Checks the shape, sizes the scratch and runs the included dimensions, as items of the
// services' for-each-item slot when there are threads to use.
template <class T>
int Run(SSTask* task, Job<T>& job, int64_t (*budget)(int64_t), const SSThreadServices* services,
        oxl_item_worker worker = &Dimension<T>) {
  if (const int status = ReadShape(*task, job); status != 0) return status;
  if (job.n > (INT64_MAX >> 5)) return OXL_SS_ERROR_MEMORY;  // no scratch of 3n elements fits
  // The mean deviation reads the data where they are; the rest work on a copy.
  const bool copies = job.sorted != nullptr || job.count > 0 || job.median;
  const bool two = (job.sorted != nullptr && !job.sorted_rows) ||
                   (job.sorted == nullptr && !job.median &&
                    (job.count >= kSortFromOrders || (job.count > 0 && job.n >= kBracketMinCount)));
  job.scratch_stride = job.median ? 3 * job.n : copies ? (two ? 2 : 1) * job.n : 0;
  const bool threaded = services != nullptr && services->for_each_item != nullptr &&
                        services->thread_count != nullptr;
  const int64_t allowed = threaded ? std::max(1, services->thread_count()) : 1;
  const int64_t fit = std::max<int64_t>(
      1, budget(allowed) / (int64_t(sizeof(T)) * std::max<int64_t>(1, job.scratch_stride)));
  const int64_t threads = std::min({allowed, job.p, fit});
  platform::Scratch<int64_t> list;
  platform::Scratch<T> scratch;
  if (!list.Reset(job.p) || !scratch.Reset(platform::CheckedSize(threads) * job.scratch_stride)) {
    return OXL_SS_ERROR_MEMORY;
  }
  int64_t* dims = list.get();
  int64_t included = 0;
  for (int64_t i = 0; i < job.p; ++i) {
    if (Included(*task, i)) dims[included++] = i;
  }
  job.scratch = scratch.get();
  const auto run = [&](const int64_t* first, int64_t items) -> int {
    job.dims = first;
    if (threads > 1 && items > 1) {
      return services->for_each_item(items, static_cast<int32_t>(threads), &job, worker);
    }
    for (int64_t item = 0; item < items; ++item) {
      if (const int32_t status = worker(item, 0, nullptr, &job); status != 0) return status;
    }
    return 0;
  };
  // Quantiles and medians of observations stored by columns: a dimension read in place takes one
  // value from each cache line of the whole matrix, so that every dimension would read all of it
  // again. The keys of a group of dimensions are made in one pass instead (the matrix read once per
  // group), when they fit in the budget of one thread; each item then needs only n spare keys.
  const int64_t group = budget(1) / (job.n * int64_t(sizeof(T)));
  platform::Scratch<T> keys;
  const bool selects = job.count > 0 || job.median;
  if (!job.rows && job.sorted == nullptr && selects && ByBrackets(job, job.n) && group > 0 &&
      keys.Reset(platform::CheckedSize(std::min(group, included)) * job.n)) {
    job.keys = reinterpret_cast<decltype(job.keys)>(keys.get());
    for (int64_t first = 0; first < included; first += group) {
      const int64_t items = std::min(group, included - first);
      ColumnKeys(job.x, job.p, job.n, dims + first, items, job.keys);
      if (const int status = run(dims + first, items); status != 0) return status;
    }
    return 0;
  }
  return run(dims, included);
}

// Sum of w_k v_k over sum of w_k (w_k = 1 without weights), of the n values at v with stride s,
// as |v - centre| when `absolute`; in double with Neumaier's compensation, so that the order of a
// long sum costs nothing.
template <class T>
double WeightedMean(const T* v, int64_t s, const T* w, int64_t n, bool absolute, double centre) {
  double sum = 0, sum_c = 0, weight = 0, weight_c = 0;
  const auto add = [](double& total, double& c, double x) {
    const double t = total + x;
    c += std::fabs(total) >= std::fabs(x) ? (total - t) + x : (x - t) + total;
    total = t;
  };
  for (int64_t k = 0; k < n; ++k) {
    const double x = absolute ? std::fabs(double(v[k * s]) - centre) : double(v[k * s]);
    const double wk = w != nullptr ? double(w[k]) : 1.0;
    add(sum, sum_c, wk * x);
    add(weight, weight_c, wk);
  }
  return (sum + sum_c) / (weight + weight_c);
}

template <class T>
int32_t Deviation(int64_t item, int32_t thread, void* /*reserved*/, void* context) {
  const Job<T>& job = *static_cast<const Job<T>*>(context);
  const int64_t d = job.dims[item], n = job.n;
  const int64_t stride = job.rows ? 1 : job.p;
  const T* src = job.x + (job.rows ? d * n : d);
  if (!job.median) {
    const double centre = job.mean != nullptr ? double(job.mean[d])
                                              : WeightedMean(src, stride, job.weights, n, false, 0);
    job.deviations[d] = T(WeightedMean(src, stride, job.weights, n, true, centre));
    return 0;
  }
  // Both medians are quantiles of order 1/2, found as the quantiles find them: by brackets in a
  // long dimension, read where it stands, else by selection in a copy. The deviations go to the
  // first n elements of the scratch, the selections work in the 2n after them.
  T* deviations = job.scratch + thread * job.scratch_stride;
  T* work = deviations + n;
  const T half = T(0.5);
  Job<T> median_job = job;
  median_job.count = 1;
  median_job.orders = &half;
  const auto median_of = [&](const T* v, int64_t v_stride) {
    T median;
    const auto select = [&](const int64_t* ranks, int count, T* values) {
      return SelectRanks(v, v_stride, n, ranks, count, work, values);
    };
    if (BracketQuantiles(median_job, n, select, &median)) return median;
    for (int64_t k = 0; k < n; ++k) work[k] = v[k * v_stride];
    return SelectQuantile(n, work, 0.5);
  };
  const T* values = src;
  int64_t values_stride = stride;
  T median;
  if (job.keys != nullptr) {
    // Stored by columns: the dimension's keys, made with its group's in one read of the data. A
    // selection overwrites the keys it selects in, so it takes a copy, and the keys themselves
    // turn back into the values that the deviations are taken of.
    auto* keys = job.keys + item * n;
    auto* copy = reinterpret_cast<decltype(keys)>(work);
    std::memcpy(copy, keys, sizeof(*keys) * n);
    const auto select = [&](const int64_t* ranks, int count, T* out) {
      return SelectKeyRanks(copy, n, ranks, count, copy + n, out);
    };
    const bool selected = BracketQuantiles(median_job, n, select, &median);
    ValuesOfKeys(keys, n);
    values = reinterpret_cast<const T*>(keys);
    values_stride = 1;
    if (!selected) median = median_of(values, 1);
  } else {
    median = median_of(src, stride);
  }
  for (int64_t k = 0; k < n; ++k) deviations[k] = std::fabs(values[k * values_stride] - median);
  job.deviations[d] = median_of(deviations, 1);
  return 0;
}

// Median absolute deviation (unweighted, about the median) and mean absolute deviation (weighted,
// about the weighted mean or the given one), each dimension an item of the services.
template <class T>
int Mad(SSTask* task, uint64_t estimates, uint64_t method, const SSThreadServices* services) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  if (const int64_t storage = ReadStorage(*task, task->xStorage); storage < 0) {
    return static_cast<int>(storage);
  }
  if (estimates & EST_MEDIAN_ABS_DEV) {
    if (task->medianAbsDeviation == nullptr) return OXL_SS_ERROR_MEDIAN_ABS_DEV;
    if (!(method & METHOD_SUMS)) return OXL_SS_ERROR_METHOD;
    Job<T> job{};
    job.median = true;
    job.deviations = static_cast<T*>(task->medianAbsDeviation);
    if (const int status = Run(task, job, &QuantileScratch, services, &Deviation<T>); status != 0) {
      return status;
    }
  }
  if (estimates & EST_MEAN_ABS_DEV) {
    if (task->meanAbsDeviation == nullptr) return OXL_SS_ERROR_MEAN_ABS_DEV;
    if (!(method & (METHOD_SUMS | METHOD_GIVEN_MEAN))) return OXL_SS_ERROR_MEAN_ABS_DEV_METHOD;
    Job<T> job{};
    if (method & METHOD_GIVEN_MEAN) {
      if (task->mean == nullptr) return OXL_SS_ERROR_MEAN;
      job.mean = static_cast<const T*>(task->mean);
    }
    job.weights = static_cast<const T*>(task->weights);
    job.deviations = static_cast<T*>(task->meanAbsDeviation);
    return Run(task, job, &QuantileScratch, services, &Deviation<T>);
  }
  return 0;
}

template <class T>
int Quantiles(SSTask* task, uint64_t estimates, uint64_t method, const SSThreadServices* services) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  if (const int64_t storage = ReadStorage(*task, task->xStorage); storage < 0) {
    return static_cast<int>(storage);
  }
  Job<T> job{};
  if (estimates & EST_QUANTILES) {
    if (task->quantiles == nullptr) return OXL_SS_ERROR_QUANTILES;
    if (task->quantileOrders == nullptr) return OXL_SS_ERROR_QUANTILE_ORDERS;
    if (task->quantileCount == nullptr) return OXL_SS_ERROR_QUANTILE_COUNT;
    job.count = ReadIndex(*task, task->quantileCount);
    if (job.count < 0) return OXL_SS_ERROR_QUANTILE_COUNT;
    job.orders = static_cast<const T*>(task->quantileOrders);
    for (int64_t q = 0; q < job.count; ++q) {
      if (!(job.orders[q] >= T(0) && job.orders[q] <= T(1))) return OXL_SS_ERROR_QUANTILE_COUNT;
    }
    job.quantiles = static_cast<T*>(task->quantiles);
  }
  if (estimates & EST_ORDER_STATS) {
    if (task->orderStats == nullptr) return OXL_SS_ERROR_ORDER_STATS;
    const int64_t order_storage = ReadStorage(*task, task->orderStatsStorage);
    if (order_storage < 0) return static_cast<int>(order_storage);
    job.sorted = static_cast<T*>(task->orderStats);
    job.sorted_rows = order_storage == STORAGE_ROWS;
  }
  if (!(method & METHOD_SUMS)) return OXL_SS_ERROR_METHOD;
  if (job.sorted == nullptr && job.count == 0) return ReadShape(*task, job);
  return Run(task, job, &QuantileScratch, services);
}

template <class T>
int Sort(SSTask* task, uint64_t /*estimates*/, uint64_t method, const SSThreadServices* services) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  if (task->sortedOutput == nullptr) return OXL_SS_ERROR_SORTED_OUTPUT;
  if (task->sortedStorage == nullptr || task->xStorage == nullptr) {
    return OXL_SS_ERROR_STORAGE_POINTER;
  }
  const int64_t storage = ReadIndex(*task, task->xStorage);
  const int64_t sorted_storage = ReadIndex(*task, task->sortedStorage);
  if (task->sortedOutput == task->x) {
    if (storage != sorted_storage) return OXL_SS_ERROR_STORAGE_POINTER;
    if (task->inclusion != nullptr) return OXL_SS_ERROR_SORT_IN_PLACE_MASK;
  }
  for (const int64_t code : {storage, sorted_storage}) {
    if (code != STORAGE_ROWS && code != STORAGE_COLS) return OXL_SS_ERROR_STORAGE;
  }
  if (!(method & METHOD_RADIX)) return OXL_SS_ERROR_METHOD;
  Job<T> job{};
  job.sorted = static_cast<T*>(task->sortedOutput);
  job.sorted_rows = sorted_storage == STORAGE_ROWS;
  return Run(task, job, &SortScratch, services);
}

}  // namespace
}  // namespace oxl::stats

OXL_SS_COMPUTE_ENTRIES(Quantiles, Quantiles)
OXL_SS_COMPUTE_ENTRIES(MAD, Mad)
OXL_SS_COMPUTE_ENTRIES(Sort, Sort)
