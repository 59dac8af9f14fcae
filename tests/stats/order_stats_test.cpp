// Order statistics in both storages and precisions: minimum and maximum against
// std::min_element/max_element with an inclusion mask and in blocks, the signed-zero and NaN rules;
// quantiles and sorted copies against std::sort and a long-double reference, by sorting and by
// selection, on fake threads; sorted copies in every pair of storages and in place; absolute
// deviations against direct evaluations; the statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include "numeric/helpers.h"
#include "stats/bracket_select.h"
#include "stats/stats_fixture.h"
#include "stats/task.h"
#include "support/failing_allocator.h"
#include "support/fake_threads.h"
#include "support/float_bits.h"

namespace oxl::test {
namespace {

template <class T>
int RunMinmax(Problem<T>& pb, std::vector<T>& lo, std::vector<T>& hi, uint64_t estimates,
              uint64_t method = METHOD_ONE_PASS) {
  pb.Edit(SS_ED_MIN, lo.data());
  pb.Edit(SS_ED_MAX, hi.data());
  return pb.Call(&_vrsdSSMinmax, &_vrssSSMinmax, estimates, method);
}

// Dimension 2 is left out and keeps its seeds. Dimensions 3 and 4 hold zeros of both signs and
// NaNs, the first +0 first, the other -0: -0 is below +0 whichever comes first, and NaN
// observations are passed over. A second call over the same data changes nothing; a seed beyond the
// data stays.
template <class T>
void MinmaxAgainstStd(int64_t storage) {
  const int64_t p = 5, n = 301;
  Problem<T> pb(p, n, storage);
  pb.Fill(4, 3.0, true);
  const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
  for (int64_t j = 0; j < n; ++j) {
    pb.at(3, j) = j % 3 == 0 ? T(0) : j % 3 == 1 ? nan : T(-0.0);
    pb.at(4, j) = j % 3 == 0 ? T(-0.0) : j % 3 == 1 ? T(0) : nan;
  }
  pb.SetInclusion({1, 1, 0, 1, 1});
  std::vector<T> lo(p, inf), hi(p, -inf);
  lo[2] = hi[2] = T(77);
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX), 0);
  for (int64_t i = 0; i < p; ++i) {
    const std::vector<T> d = pb.Column(i);
    const T want_lo = i == 2 ? T(77) : i > 2 ? T(-0.0) : *std::min_element(d.begin(), d.end());
    const T want_hi = i == 2 ? T(77) : i > 2 ? T(0) : *std::max_element(d.begin(), d.end());
    EXPECT_EQ(ToBits(lo[i]), ToBits(want_lo)) << i;
    EXPECT_EQ(ToBits(hi[i]), ToBits(want_hi)) << i;
  }
  const std::vector<T> lo1 = lo, hi1 = hi;
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX, METHOD_SUMS), 0);
  EXPECT_EQ(lo, lo1);
  EXPECT_EQ(hi, hi1);
  std::fill(lo.begin(), lo.end(), T(-1e9));
  std::fill(hi.begin(), hi.end(), T(5));  // above some maxima, below others
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MAX), 0);
  EXPECT_EQ(lo[0], T(-1e9));  // not asked for: not written
  for (int64_t i : {0, 1, 3, 4}) EXPECT_EQ(hi[i], std::max(T(5), hi1[i])) << i;
}

// Quantiles by sorting (with the order statistics) and by selection (without) against std::sort and
// a long-double evaluation of the definition; the two ways give the same bits, and so do fake
// threads. Dimension 0 holds zeros of both signs, dimension 1 ties; dimension 2 is left out. Long
// dimensions select by sampled brackets, and dimension 3 then holds an ascending ramp at the
// sampling stride, so that its sample misleads the brackets and the sort must take over.
template <class T>
void QuantilesAgainstStd(int64_t storage, int64_t n) {
  const int64_t p = 4;
  Problem<T> pb(p, n, storage);
  pb.Fill(9, 1.0, true);
  for (int64_t j = 0; j < n; j += 7) pb.at(1, j) = T(2);
  for (int64_t j = 0; j < n; j += 11) pb.at(0, j) = j % 2 ? T(0) : T(-0.0);
  if (n >= stats::kBracketMinCount) {
    for (int64_t j = 0; j < n; j += 16) pb.at(3, j) = T(j) / T(n);
  }
  pb.SetInclusion({1, 1, 0, 1});
  std::vector<T> orders = {T(0), T(0.1), T(0.25), T(0.3337), T(0.5), T(0.999), T(1)};
  int64_t count = static_cast<int64_t>(orders.size());
  int64_t order_storage = storage == STORAGE_ROWS ? STORAGE_COLS : STORAGE_ROWS;
  std::vector<T> sorted_q(p * count, T(-7)), selected_q(p * count, T(-7)),
      threaded_q(p * count, T(-7)), stats(p * n, T(-7));
  auto run = [&](std::vector<T>& q, uint64_t estimates, const SSThreadServices* services) {
    Pick<T>(__vrsdSSEditQuantiles, __vrssSSEditQuantiles)(pb.task, &count, orders.data(), q.data(),
                                                          stats.data(), &order_storage);
    return pb.Call(&_vrsdSSQuantiles, &_vrssSSQuantiles, estimates, METHOD_SUMS, services);
  };
  ASSERT_EQ(run(sorted_q, EST_QUANTILES | EST_ORDER_STATS, nullptr), 0);
  ASSERT_EQ(run(selected_q, EST_QUANTILES, nullptr), 0);
  ASSERT_EQ(run(threaded_q, EST_QUANTILES, FakeThreads::StatsTable(3)), 0);
  EXPECT_EQ(FakeThreads::calls, 1);
  EXPECT_TRUE(SameBits(selected_q, sorted_q));
  EXPECT_TRUE(SameBits(threaded_q, sorted_q));
  // One order at a time, the quantile comes by selection rather than a sort: the same values.
  for (int64_t k = 0; k < count; ++k) {
    int64_t one = 1;
    std::vector<T> q1(p, T(-7));
    Pick<T>(__vrsdSSEditQuantiles, __vrssSSEditQuantiles)(pb.task, &one, orders.data() + k,
                                                          q1.data(), nullptr, nullptr);
    ASSERT_EQ(pb.Call(&_vrsdSSQuantiles, &_vrssSSQuantiles, EST_QUANTILES, METHOD_SUMS, nullptr),
              0);
    for (int64_t i = 0; i < p; ++i) {
      EXPECT_EQ(ToBits(q1[i]), ToBits(i == 2 ? T(-7) : sorted_q[i * count + k])) << i << " " << k;
    }
  }
  for (int64_t i = 0; i < p; ++i) {
    std::vector<T> d = pb.Column(i), got(n);
    for (int64_t j = 0; j < n; ++j) {
      got[j] = stats[order_storage == STORAGE_ROWS ? i * n + j : j * p + i];
    }
    if (i == 2) {
      EXPECT_EQ(got, std::vector<T>(n, T(-7)));
      EXPECT_EQ(sorted_q[i * count], T(-7));
      continue;
    }
    std::sort(d.begin(), d.end());
    EXPECT_EQ(got, d) << i;
    EXPECT_EQ(sorted_q[i * count], d.front());
    EXPECT_EQ(sorted_q[i * count + count - 1], d.back());
    for (int64_t k = 0; k < count; ++k) {
      const long double t = (long double)(n - 1) * (long double)orders[k];
      const int64_t lo = static_cast<int64_t>(t), hi = std::min(lo + 1, n - 1);
      const long double want = d[lo] + (t - lo) * ((long double)d[hi] - d[lo]);
      EXPECT_NEAR(sorted_q[i * count + k], want,
                  4 * std::numeric_limits<T>::epsilon() * fabsl(want))
          << i << " " << orders[k];
    }
  }
}

// Sorted copies, with a mask (dimension 1 left out), and in place; -0 before +0 as the radix order
// has it, in every layout.
template <class T>
void SortAgainstStd(int64_t storage, int64_t sorted_storage, bool in_place) {
  const int64_t p = 3, n = 517;
  Problem<T> pb(p, n, storage);
  pb.Fill(12, 0.0, true);
  for (int64_t j = 0; j < n; j += 5) pb.at(0, j) = j % 2 ? T(0) : T(-0.0);
  std::vector<std::vector<T>> want(p);
  for (int64_t i = 0; i < p; ++i) {
    want[i] = pb.Column(i);
    std::stable_sort(want[i].begin(), want[i].end(), [](T a, T b) {
      return a < b || (a == 0 && b == 0 && std::signbit(a) && !std::signbit(b));
    });
  }
  std::vector<T> copy(p * n, T(-7));
  T* out = in_place ? pb.x.data() : copy.data();
  if (!in_place) pb.SetInclusion({1, 0, 1});
  pb.Edit(SS_ED_SORTED_OBSERV, out);
  __vrsiSSEditTask(pb.task, SS_ED_SORTED_OBSERV_STORAGE, &sorted_storage);
  ASSERT_EQ(pb.Call(&_vrsdSSSort, &_vrssSSSort, 0, METHOD_RADIX, FakeThreads::StatsTable(2)), 0);
  for (int64_t i = 0; i < p; ++i) {
    for (int64_t j = 0; j < n; ++j) {
      const T got = out[sorted_storage == STORAGE_ROWS ? i * n + j : j * p + i];
      const T expected = !in_place && i == 1 ? T(-7) : want[i][j];
      ASSERT_EQ(ToBits(got), ToBits(expected)) << i << " " << j;
    }
  }
}

// Median absolute deviation (n odd: both medians are observations, so exact) and weighted mean
// absolute deviation about the weighted mean or a given one, against direct evaluations; n long
// enough for the medians to be selected by brackets, or not.
template <class T>
void DeviationsAgainstDirect(int64_t storage, int64_t n) {
  const int64_t p = 3;
  Problem<T> pb(p, n, storage);
  pb.Fill(21, 2.0, true);
  std::vector<T> w(n);
  for (int64_t j = 0; j < n; ++j) w[j] = T(0.25 + (j % 5) * 0.5);
  pb.SetWeights(w);
  pb.SetInclusion({1, 0, 1});
  std::vector<T> mdad(p, T(-7)), mnad(p, T(-7)), given(p, T(-7));
  pb.mean = {T(1.5), T(0), T(2.5)};
  const auto run = [&](std::vector<T>& out, uint64_t estimates, uint64_t method) {
    pb.Edit(SS_ED_MDAD, mdad.data());
    pb.Edit(SS_ED_MNAD, out.data());
    return pb.Call(&_vrsdSSMAD, &_vrssSSMAD, estimates, method, FakeThreads::StatsTable(2));
  };
  ASSERT_EQ(run(mnad, EST_MEDIAN_ABS_DEV | EST_MEAN_ABS_DEV, METHOD_SUMS), 0);
  ASSERT_EQ(run(given, EST_MEAN_ABS_DEV, METHOD_GIVEN_MEAN), 0);
  EXPECT_TRUE(mdad[1] == T(-7) && mnad[1] == T(-7));
  for (int64_t i : {0, 2}) {
    std::vector<T> d = pb.Column(i);
    long double sw = 0, swx = 0;
    for (int64_t j = 0; j < n; ++j) {
      sw += w[j];
      swx += (long double)w[j] * d[j];
    }
    // The deviations cancel against the centre: the error scales with the centre's size.
    const auto near = [&](T got, long double centre) {
      long double s = 0;
      for (int64_t j = 0; j < n; ++j) s += w[j] * fabsl(d[j] - centre);
      const long double want = s / sw;
      EXPECT_NEAR(got, want, 8 * std::numeric_limits<T>::epsilon() * (fabsl(centre) + want)) << i;
    };
    near(mnad[i], swx / sw);
    near(given[i], pb.mean[i]);
    std::nth_element(d.begin(), d.begin() + n / 2, d.end());
    const T median = d[n / 2];
    for (T& v : d) v = std::fabs(v - median);
    std::nth_element(d.begin(), d.begin() + n / 2, d.end());
    EXPECT_EQ(mdad[i], d[n / 2]) << i;
  }
}

template <class T>
void AgainstStd(int64_t storage) {
  MinmaxAgainstStd<T>(storage);
  for (const int64_t n : {1001, 40000}) QuantilesAgainstStd<T>(storage, n);
  for (const int64_t n : {301, 40001}) DeviationsAgainstDirect<T>(storage, n);
  SortAgainstStd<T>(storage, storage, true);
  for (const int64_t to : {STORAGE_ROWS, STORAGE_COLS}) SortAgainstStd<T>(storage, to, false);
}

TEST(OrderStats, AgainstStdInBothStoragesAndPrecisions) {
  for (const int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
    SCOPED_TRACE(storage);
    AgainstStd<double>(storage);
    AgainstStd<float>(storage);
  }
}

// A task of 2 dimensions and 9 observations with every array of the order statistics registered.
struct StatusCase {
  Problem<double> pb{2, 9, STORAGE_ROWS};
  SSTask& t = *pb.task;
  std::vector<double> lo = std::vector<double>(2, 1.0), hi = lo, q = std::vector<double>(6),
                      stats = std::vector<double>(18), sorted = stats, orders = {0, 0.3, 1};
  int64_t count = 3, order_storage = STORAGE_ROWS, sorted_storage = STORAGE_ROWS, bad = 3,
          cols = STORAGE_COLS;
  StatusCase() {
    pb.Edit(SS_ED_MIN, lo.data());
    pb.Edit(SS_ED_MAX, hi.data());
    pb.Edit(SS_ED_MDAD, lo.data());
    pb.Edit(SS_ED_MNAD, hi.data());
    pb.Edit(SS_ED_SORTED_OBSERV, sorted.data());
    __vrsiSSEditTask(pb.task, SS_ED_SORTED_OBSERV_STORAGE, &sorted_storage);
    __vrsdSSEditQuantiles(pb.task, &count, orders.data(), q.data(), stats.data(), &order_storage);
  }
};

using Entry = int (*)(SSTask*, uint64_t, uint64_t, const SSThreadServices*);
constexpr Entry kMinmax = &_vrsdSSMinmax, kQuantiles = &_vrsdSSQuantiles, kSort = &_vrsdSSSort,
                kMad = &_vrsdSSMAD;

// Each row breaks one thing on a fresh task and expects its status; rows of status 0 show that the
// fresh task is valid. A failed allocation gives the memory status and writes nothing.
TEST(OrderStats, Statuses) {
  using Case = StatusCase;
  constexpr uint64_t kOnePass = METHOD_ONE_PASS, kSums = METHOD_SUMS, kGiven = METHOD_GIVEN_MEAN,
                     kRadix = METHOD_RADIX;
  const std::tuple<Entry, uint64_t, uint64_t, void (*)(Case&), int> rows[] = {
      {kMinmax, EST_MIN | EST_MAX, kOnePass, nullptr, 0},
      {kMinmax, EST_MIN, kOnePass, [](Case& c) { c.t.minimum = nullptr; }, OXL_SS_ERROR_MIN},
      {kMinmax, EST_MIN | EST_MAX, kOnePass, [](Case& c) { c.t.maximum = nullptr; },
       OXL_SS_ERROR_MAX},
      {kMinmax, EST_MIN, kGiven, nullptr, OXL_SS_ERROR_METHOD},
      {kMinmax, EST_MIN, kOnePass, [](Case& c) { c.pb.storage = 7; }, OXL_SS_ERROR_STORAGE},
      {kMinmax, EST_MIN, kOnePass, [](Case& c) { c.pb.n = 0; }, OXL_SS_ERROR_OBSERVATIONS},
      {kQuantiles, EST_QUANTILES | EST_ORDER_STATS, kSums, nullptr, 0},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.orders[1] = 1.5; },
       OXL_SS_ERROR_QUANTILE_COUNT},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.orders[1] = NAN; },
       OXL_SS_ERROR_QUANTILE_COUNT},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.count = -1; },
       OXL_SS_ERROR_QUANTILE_COUNT},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.t.quantileCount = nullptr; },
       OXL_SS_ERROR_QUANTILE_COUNT},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.count = 0; }, 0},
      {kQuantiles, EST_ORDER_STATS, kSums, [](Case& c) { c.order_storage = 5; },
       OXL_SS_ERROR_STORAGE},
      {kQuantiles, EST_QUANTILES, kOnePass, nullptr, OXL_SS_ERROR_METHOD},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.t.quantiles = nullptr; },
       OXL_SS_ERROR_QUANTILES},
      {kQuantiles, EST_ORDER_STATS, kSums, [](Case& c) { c.t.orderStats = nullptr; },
       OXL_SS_ERROR_ORDER_STATS},
      {kQuantiles, EST_QUANTILES, kSums, [](Case& c) { c.t.quantileOrders = nullptr; },
       OXL_SS_ERROR_QUANTILE_ORDERS},
      {kQuantiles, EST_ORDER_STATS, kSums, [](Case& c) { c.t.orderStatsStorage = nullptr; },
       OXL_SS_ERROR_STORAGE_POINTER},
      {kSort, 0, kRadix, nullptr, 0},
      {kSort, 0, kRadix, [](Case& c) { c.t.sortedOutput = nullptr; }, OXL_SS_ERROR_SORTED_OUTPUT},
      {kSort, 0, kRadix, [](Case& c) { c.t.sortedStorage = nullptr; },
       OXL_SS_ERROR_STORAGE_POINTER},
      {kSort, 0, kRadix, [](Case& c) { c.t.sortedStorage = &c.bad; }, OXL_SS_ERROR_STORAGE},
      {kSort, 0, kSums, nullptr, OXL_SS_ERROR_METHOD},
      {kSort, 0, kRadix, [](Case& c) { c.t.sortedOutput = c.pb.x.data(); }, 0},
      {kSort, 0, kRadix,  // in place, into another storage
       [](Case& c) { c.t.sortedOutput = c.pb.x.data(), c.t.sortedStorage = &c.cols; },
       OXL_SS_ERROR_STORAGE_POINTER},
      {kSort, 0, kRadix,  // in place, with a mask
       [](Case& c) {
         c.t.sortedOutput = c.pb.x.data(), c.pb.SetInclusion({1, 1});
       },
       OXL_SS_ERROR_SORT_IN_PLACE_MASK},
      {kMad, EST_MEDIAN_ABS_DEV | EST_MEAN_ABS_DEV, kSums, nullptr, 0},
      {kMad, EST_MEDIAN_ABS_DEV, kSums, [](Case& c) { c.t.medianAbsDeviation = nullptr; },
       OXL_SS_ERROR_MEDIAN_ABS_DEV},
      {kMad, EST_MEAN_ABS_DEV, kSums, [](Case& c) { c.t.meanAbsDeviation = nullptr; },
       OXL_SS_ERROR_MEAN_ABS_DEV},
      {kMad, EST_MEDIAN_ABS_DEV, kGiven, nullptr, OXL_SS_ERROR_METHOD},
      {kMad, EST_MEAN_ABS_DEV, kOnePass, nullptr, OXL_SS_ERROR_MEAN_ABS_DEV_METHOD},
      {kMad, EST_MEAN_ABS_DEV, kGiven, [](Case& c) { c.t.mean = nullptr; }, OXL_SS_ERROR_MEAN},
  };
  for (size_t r = 0; r < std::size(rows); ++r) {
    const auto& [entry, estimates, method, edit, status] = rows[r];
    Case c;
    if (edit != nullptr) edit(c);
    EXPECT_EQ(entry(c.pb.task, estimates, method, nullptr), status) << "row " << r;
  }
  for (Entry entry : {kMinmax, kQuantiles, kMad}) {
    EXPECT_EQ(entry(nullptr, EST_MIN, kSums, nullptr), OXL_SS_ERROR_NULL_TASK);
    Case c;
    AllocationScope failing(1);
    const uint64_t est = entry == kMinmax ? EST_MIN
                         : entry == kMad  ? EST_MEDIAN_ABS_DEV
                                          : EST_QUANTILES;
    EXPECT_EQ(entry(c.pb.task, est, kSums, nullptr), OXL_SS_ERROR_MEMORY);
    EXPECT_EQ(c.lo, std::vector<double>(2, 1.0));
    EXPECT_EQ(c.q, std::vector<double>(6, 0.0));
  }
}

// The sort under the weighted median: keys ascending, each with its own mapped value.
TEST(WeightedMedian, MapSortMovesTheMapWithTheKeys) {
  std::mt19937_64 rng(9);
  std::vector<double> keys(5000), map(5000);
  for (size_t i = 0; i < keys.size(); ++i) {
    keys[i] = static_cast<double>(rng() % 700);  // many equal keys
    map[i] = static_cast<double>(i);
  }
  const std::vector<double> original = keys;
  _vdSSQuickMapSort(static_cast<int64_t>(keys.size()), keys.data(), map.data());
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
  std::vector<bool> seen(keys.size());
  for (size_t i = 0; i < keys.size(); ++i) {
    const auto from = static_cast<size_t>(map[i]);
    EXPECT_EQ(original[from], keys[i]);
    EXPECT_FALSE(seen[from]);
    seen[from] = true;
  }
}

// The weighted median's rule, row by row: unit weights give the median, a target met exactly the
// midpoint for even n, straddling values an interpolation in the weight, zero weights no value.
TEST(WeightedMedian, Rows) {
  // Values, weights, the order and the median.
  const std::tuple<std::vector<double>, std::vector<double>, double, double> rows[] = {
      {{5, 1, 3}, {1, 1, 1}, 0.5, 3},     {{4, 1, 3, 2}, {1, 1, 1, 1}, 0.5, 2.5},
      {{1, 2, 3}, {1, 1, 2}, 0.5, 2},     {{10, 20}, {1, 3}, 0.5, 10 + 10.0 / 3},
      {{7, 1, 9}, {0, 1, 1}, 0.5, 1},     {{7, 1, 9, 4}, {1, 1, 1, 1}, 0, 1},
      {{7, 1, 9, 4}, {1, 1, 1, 1}, 1, 9}, {{3, 8, 1, 6}, {2, 0, 1, 1}, 0.75, 4.5},
  };
  for (const auto& [values, weights, order, want] : rows) {
    // Two dimensions in columns: the row's values, and the same values doubled.
    int64_t p = 2, n = static_cast<int64_t>(values.size()), storage = STORAGE_COLS, count = 1;
    std::vector<double> x, w = weights, q = {order}, out(2);
    for (const double v : values) x.insert(x.end(), {v, 2 * v});
    SSTask* task = nullptr;
    __vrsdSSNewTask(&task, &p, &n, &storage, x.data(), w.data(), nullptr, 1);
    __vrsdSSEditQuantiles(task, &count, q.data(), out.data(), nullptr, nullptr);
    EXPECT_EQ(_vrsdSSWMedian(task, 0, 0, nullptr), 0);
    EXPECT_DOUBLE_EQ(out[0], want) << order;
    EXPECT_DOUBLE_EQ(out[1], 2 * want) << order;
    __vrsSSDeleteTask(&task);
  }
}

}  // namespace
}  // namespace oxl::test
