// Order statistics: minimum and maximum against std::min_element/max_element in both storages,
// with an inclusion mask and in blocks, the tie and NaN rules; quantiles and sorted copies against
// std::sort and a long-double reference, by sorting and by selection, on fake threads; sorted
// copies in every pair of storages and in place; absolute deviations against direct evaluations;
// the statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "stats/numeric_helpers.h"
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

template <class T>
void AgainstStd(int64_t storage) {
  const int64_t p = 5, n = 301;
  Problem<T> pb(p, n, storage);
  pb.Fill(4, 3.0, true);
  pb.SetInclusion({1, 1, 0, 1, 1});
  const T inf = std::numeric_limits<T>::infinity();
  std::vector<T> lo(p, inf), hi(p, -inf);
  lo[2] = hi[2] = T(77);  // left out: untouched
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX), 0);
  for (int64_t i = 0; i < p; ++i) {
    if (i == 2) {
      EXPECT_EQ(lo[i], T(77));
      EXPECT_EQ(hi[i], T(77));
      continue;
    }
    std::vector<T> d(n);
    for (int64_t j = 0; j < n; ++j) d[j] = pb.at(i, j);
    EXPECT_EQ(lo[i], *std::min_element(d.begin(), d.end())) << i;
    EXPECT_EQ(hi[i], *std::max_element(d.begin(), d.end())) << i;
  }
  // Blocks: a second call over the same data changes nothing; a seed beyond the data stays.
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

TEST(Minmax, AgainstStdInBothStoragesWithMaskAndBlocks) {
  AgainstStd<double>(STORAGE_ROWS);
  AgainstStd<double>(STORAGE_COLS);
  AgainstStd<float>(STORAGE_ROWS);
  AgainstStd<float>(STORAGE_COLS);
}

// -0 is below +0 whichever comes first, and NaN observations are passed over: the answer does not
// depend on the order of the observations.
TEST(Minmax, SignedZerosAndNaN) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
    Problem<double> pb(2, 4, storage);
    const double first[4] = {0.0, nan, -0.0, 0.0}, second[4] = {-0.0, 0.0, nan, -0.0};
    for (int j = 0; j < 4; ++j) {
      pb.at(0, j) = first[j];
      pb.at(1, j) = second[j];
    }
    std::vector<double> lo = {first[0], second[0]}, hi = lo;
    ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX), 0);
    for (int i = 0; i < 2; ++i) {
      EXPECT_TRUE(std::signbit(lo[i]) && lo[i] == 0) << storage << " " << i;
      EXPECT_TRUE(!std::signbit(hi[i]) && hi[i] == 0) << storage << " " << i;
    }
  }
}

TEST(Minmax, Statuses) {
  Problem<double> pb(3, 10, STORAGE_COLS);
  std::vector<double> lo(3, 1.0), hi(3, 1.0);
  EXPECT_EQ(_vrsdSSMinmax(nullptr, EST_MIN, METHOD_ONE_PASS, nullptr), OXL_SS_ERROR_NULL_TASK);
  EXPECT_EQ(_vrsdSSMinmax(pb.task, EST_MIN, METHOD_ONE_PASS, nullptr), OXL_SS_ERROR_MIN);
  __vrsdSSEditTask(pb.task, SS_ED_MIN, lo.data());
  EXPECT_EQ(_vrsdSSMinmax(pb.task, EST_MIN | EST_MAX, METHOD_ONE_PASS, nullptr), OXL_SS_ERROR_MAX);
  EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN, METHOD_GIVEN_MEAN), OXL_SS_ERROR_METHOD);
  pb.storage = 7;
  EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN), OXL_SS_ERROR_STORAGE);
  pb.storage = STORAGE_ROWS;
  pb.n = 0;
  EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN), OXL_SS_ERROR_OBSERVATIONS);
  pb.n = 10;
  {
    AllocationScope failing(1);
    EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN), OXL_SS_ERROR_MEMORY);
  }
  EXPECT_EQ(lo, std::vector<double>(3, 1.0));
  EXPECT_EQ(RunMinmax(pb, lo, hi, 0), 0);
}

// Quantiles by sorting (with the order statistics) and by selection (without) against std::sort
// and a long-double evaluation of the definition; the two ways give the same bits, and so do
// fake threads.
template <class T>
void QuantilesAgainstStd(int64_t storage) {
  const int64_t p = 4, n = 1001;
  Problem<T> pb(p, n, storage);
  pb.Fill(9, 1.0, true);
  for (int64_t j = 0; j < n; j += 7) pb.at(1, j) = T(2);  // ties
  pb.SetInclusion({1, 1, 0, 1});
  std::vector<T> orders = {T(0), T(0.1), T(0.25), T(0.5), T(0.999), T(1)};
  int64_t count = static_cast<int64_t>(orders.size());
  int64_t order_storage = storage == STORAGE_ROWS ? STORAGE_COLS : STORAGE_ROWS;
  std::vector<T> sorted_q(p * count, T(-7)), selected_q(p * count, T(-7)),
      threaded_q(p * count, T(-7)), stats(p * n, T(-7));
  auto run = [&](std::vector<T>& q, uint64_t estimates, const SSThreadServices* services) {
    SSTask& t = *pb.task;
    t.quantileCount = &count;
    t.quantileOrders = orders.data();
    t.quantiles = q.data();
    t.orderStats = stats.data();
    t.orderStatsStorage = &order_storage;
    return pb.Call(&_vrsdSSQuantiles, &_vrssSSQuantiles, estimates, METHOD_SUMS, services);
  };
  ASSERT_EQ(run(sorted_q, EST_QUANTILES | EST_ORDER_STATS, nullptr), 0);
  ASSERT_EQ(run(selected_q, EST_QUANTILES, nullptr), 0);
  ASSERT_EQ(run(threaded_q, EST_QUANTILES, FakeThreads::StatsTable(3)), 0);
  EXPECT_EQ(FakeThreads::calls, 1);
  EXPECT_EQ(selected_q, sorted_q);
  EXPECT_EQ(threaded_q, sorted_q);
  for (int64_t i = 0; i < p; ++i) {
    std::vector<T> d(n), got(n);
    for (int64_t j = 0; j < n; ++j) {
      d[j] = pb.at(i, j);
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

TEST(Quantiles, SortedSelectedAndThreadedAgreeWithStd) {
  QuantilesAgainstStd<double>(STORAGE_ROWS);
  QuantilesAgainstStd<double>(STORAGE_COLS);
  QuantilesAgainstStd<float>(STORAGE_ROWS);
  QuantilesAgainstStd<float>(STORAGE_COLS);
}

TEST(Quantiles, OneObservationAndStatuses) {
  Problem<double> one(2, 1, STORAGE_ROWS);
  one.x = {3.5, -1.0};
  int64_t count = 3, order_storage = STORAGE_ROWS;
  std::vector<double> orders = {0.0, 0.3, 1.0}, q(6), stats(2);
  __vrsdSSEditQuantiles(one.task, &count, orders.data(), q.data(), stats.data(), &order_storage);
  ASSERT_EQ(_vrsdSSQuantiles(one.task, EST_QUANTILES, METHOD_SUMS, nullptr), 0);
  EXPECT_EQ(q, (std::vector<double>{3.5, 3.5, 3.5, -1.0, -1.0, -1.0}));

  const auto status = [&](uint64_t estimates) {
    return _vrsdSSQuantiles(one.task, estimates, METHOD_SUMS, nullptr);
  };
  orders[1] = 1.5;
  EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_QUANTILE_COUNT);
  orders[1] = std::nan("");
  EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_QUANTILE_COUNT);
  orders[1] = 0.3;
  count = -1;
  EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_QUANTILE_COUNT);
  count = 0;  // accepted: nothing to compute
  EXPECT_EQ(status(EST_QUANTILES), 0);
  count = 3;
  order_storage = 5;
  EXPECT_EQ(status(EST_ORDER_STATS), OXL_SS_ERROR_STORAGE);
  EXPECT_EQ(_vrsdSSQuantiles(one.task, EST_QUANTILES, METHOD_ONE_PASS, nullptr),
            OXL_SS_ERROR_METHOD);
  SSTask& t = *one.task;
  t.quantiles = t.orderStats = nullptr;
  EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_QUANTILES);
  EXPECT_EQ(status(EST_ORDER_STATS), OXL_SS_ERROR_ORDER_STATS);
  t.quantiles = q.data();
  t.orderStats = stats.data();
  t.quantileOrders = nullptr;
  t.orderStatsStorage = nullptr;
  EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_QUANTILE_ORDERS);
  EXPECT_EQ(status(EST_ORDER_STATS), OXL_SS_ERROR_STORAGE_POINTER);
  t.quantileOrders = orders.data();
  t.quantileCount = nullptr;
  EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_QUANTILE_COUNT);
  t.quantileCount = &count;
  {
    AllocationScope failing(1);
    EXPECT_EQ(status(EST_QUANTILES), OXL_SS_ERROR_MEMORY);
  }
}

// Sorted copies in every pair of storages, with a mask, and in place; -0 before +0 as the radix
// order has it, in every layout.
template <class T>
void SortAgainstStd(int64_t storage, int64_t sorted_storage, bool in_place) {
  const int64_t p = 3, n = 517;
  Problem<T> pb(p, n, storage);
  pb.Fill(12, 0.0, true);
  for (int64_t j = 0; j < n; j += 5) pb.at(0, j) = j % 2 ? T(0) : T(-0.0);
  std::vector<std::vector<T>> want(p, std::vector<T>(n));
  for (int64_t i = 0; i < p; ++i) {
    for (int64_t j = 0; j < n; ++j) want[i][j] = pb.at(i, j);
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
      ASSERT_EQ(std::bit_cast<BitsOf<T>>(got), std::bit_cast<BitsOf<T>>(expected)) << i << " " << j;
    }
  }
}

TEST(Sort, EveryStoragePairMaskAndInPlace) {
  for (const int64_t from : {STORAGE_ROWS, STORAGE_COLS}) {
    SortAgainstStd<double>(from, from, true);
    SortAgainstStd<float>(from, from, true);
    for (const int64_t to : {STORAGE_ROWS, STORAGE_COLS}) {
      SortAgainstStd<double>(from, to, false);
      SortAgainstStd<float>(from, to, false);
    }
  }
}

TEST(Sort, Statuses) {
  Problem<double> pb(2, 8, STORAGE_ROWS);
  std::vector<double> out(16);
  int64_t rows = STORAGE_ROWS, cols = STORAGE_COLS, bad = 3;
  SSTask& t = *pb.task;
  const auto status = [&](uint64_t method = METHOD_RADIX) {
    return _vrsdSSSort(pb.task, 0, method, nullptr);
  };
  EXPECT_EQ(status(), OXL_SS_ERROR_SORTED_OUTPUT);
  t.sortedOutput = out.data();
  EXPECT_EQ(status(), OXL_SS_ERROR_STORAGE_POINTER);
  t.sortedStorage = &bad;
  EXPECT_EQ(status(), OXL_SS_ERROR_STORAGE);
  t.sortedStorage = &rows;
  EXPECT_EQ(status(METHOD_SUMS), OXL_SS_ERROR_METHOD);
  EXPECT_EQ(status(), 0);
  t.sortedOutput = pb.x.data();  // in place
  t.sortedStorage = &cols;
  EXPECT_EQ(status(), OXL_SS_ERROR_STORAGE_POINTER);
  t.sortedStorage = &rows;
  pb.SetInclusion({1, 1});
  EXPECT_EQ(status(), OXL_SS_ERROR_SORT_IN_PLACE_MASK);
}

// Median absolute deviation (n odd: both medians are observations, so exact) and weighted mean
// absolute deviation about the weighted mean or a given one, against direct evaluations.
template <class T>
void DeviationsAgainstDirect(int64_t storage) {
  const int64_t p = 3, n = 301;
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
  for (int64_t i = 0; i < p; ++i) {
    if (i == 1) {
      EXPECT_EQ(mdad[i], T(-7));
      EXPECT_EQ(mnad[i], T(-7));
      continue;
    }
    std::vector<T> d(n);
    long double sw = 0, swx = 0;
    for (int64_t j = 0; j < n; ++j) {
      d[j] = pb.at(i, j);
      sw += w[j];
      swx += (long double)w[j] * d[j];
    }
    const auto mean_abs = [&](long double centre) {
      long double s = 0;
      for (int64_t j = 0; j < n; ++j) s += w[j] * fabsl(d[j] - centre);
      return s / sw;
    };
    // The deviations cancel against the centre: the error scales with the centre's size.
    const auto near = [&](T got, long double centre) {
      const long double want = mean_abs(centre);
      EXPECT_NEAR(got, want, 8 * std::numeric_limits<T>::epsilon() * (fabsl(centre) + want)) << i;
    };
    near(mnad[i], swx / sw);
    near(given[i], pb.mean[i]);
    std::vector<T> sorted = d;
    std::sort(sorted.begin(), sorted.end());
    const T median = sorted[n / 2];
    for (T& v : d) v = std::fabs(v - median);
    std::sort(d.begin(), d.end());
    EXPECT_EQ(mdad[i], d[n / 2]) << i;
  }
}

TEST(Deviations, AgainstDirectEvaluation) {
  DeviationsAgainstDirect<double>(STORAGE_ROWS);
  DeviationsAgainstDirect<double>(STORAGE_COLS);
  DeviationsAgainstDirect<float>(STORAGE_ROWS);
  DeviationsAgainstDirect<float>(STORAGE_COLS);
}

TEST(Deviations, Statuses) {
  Problem<double> pb(2, 9, STORAGE_ROWS);
  std::vector<double> out(2);
  const auto status = [&](uint64_t estimates, uint64_t method) {
    return _vrsdSSMAD(pb.task, estimates, method, nullptr);
  };
  EXPECT_EQ(status(EST_MEDIAN_ABS_DEV, METHOD_SUMS), OXL_SS_ERROR_MEDIAN_ABS_DEV);
  EXPECT_EQ(status(EST_MEAN_ABS_DEV, METHOD_SUMS), OXL_SS_ERROR_MEAN_ABS_DEV);
  __vrsdSSEditTask(pb.task, SS_ED_MDAD, out.data());
  __vrsdSSEditTask(pb.task, SS_ED_MNAD, out.data());
  EXPECT_EQ(status(EST_MEDIAN_ABS_DEV, METHOD_GIVEN_MEAN), OXL_SS_ERROR_METHOD);
  EXPECT_EQ(status(EST_MEAN_ABS_DEV, METHOD_ONE_PASS), OXL_SS_ERROR_MEAN_ABS_DEV_METHOD);
  pb.task->mean = nullptr;
  EXPECT_EQ(status(EST_MEAN_ABS_DEV, METHOD_GIVEN_MEAN), OXL_SS_ERROR_MEAN);
  EXPECT_EQ(status(EST_MEDIAN_ABS_DEV | EST_MEAN_ABS_DEV, METHOD_SUMS), 0);
  {
    AllocationScope failing(1);
    EXPECT_EQ(status(EST_MEDIAN_ABS_DEV, METHOD_SUMS), OXL_SS_ERROR_MEMORY);
  }
}

// The weighted median's rule, row by row: unit weights give the median, a target met exactly the
// midpoint for even n, straddling values an interpolation in the weight, zero weights no value.
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

TEST(WeightedMedian, Rows) {
  struct Row {
    std::vector<double> x, w;
    double q, want;
  };
  const Row rows[] = {
      {{5, 1, 3}, {1, 1, 1}, 0.5, 3},     {{4, 1, 3, 2}, {1, 1, 1, 1}, 0.5, 2.5},
      {{1, 2, 3}, {1, 1, 2}, 0.5, 2},     {{10, 20}, {1, 3}, 0.5, 10 + 10.0 / 3},
      {{7, 1, 9}, {0, 1, 1}, 0.5, 1},     {{7, 1, 9, 4}, {1, 1, 1, 1}, 0, 1},
      {{7, 1, 9, 4}, {1, 1, 1, 1}, 1, 9}, {{3, 8, 1, 6}, {2, 0, 1, 1}, 0.75, 4.5},
  };
  for (const Row& r : rows) {
    // Two dimensions in columns: the row's values, and the same values doubled.
    int64_t p = 2, n = static_cast<int64_t>(r.x.size()), storage = STORAGE_COLS, count = 1;
    std::vector<double> x, w = r.w, q = {r.q}, out(2);
    for (const double v : r.x) x.insert(x.end(), {v, 2 * v});
    SSTask* task = nullptr;
    __vrsdSSNewTask(&task, &p, &n, &storage, x.data(), w.data(), nullptr, 1);
    __vrsdSSEditQuantiles(task, &count, q.data(), out.data(), nullptr, nullptr);
    EXPECT_EQ(_vrsdSSWMedian(task, 0, 0, nullptr), 0);
    EXPECT_DOUBLE_EQ(out[0], r.want) << r.q;
    EXPECT_DOUBLE_EQ(out[1], 2 * r.want) << r.q;
    __vrsSSDeleteTask(&task);
    // The float twin in rows.
    storage = STORAGE_ROWS;
    std::vector<float> xf(r.x.begin(), r.x.end()), wf(r.w.begin(), r.w.end()), qf = {float(r.q)};
    std::vector<float> outf(1);
    p = 1;
    __vrssSSNewTask(&task, &p, &n, &storage, xf.data(), wf.data(), nullptr, 1);
    __vrssSSEditQuantiles(task, &count, qf.data(), outf.data(), nullptr, nullptr);
    EXPECT_EQ(_vrssSSWMedian(task, 0, 0, nullptr), 0);
    EXPECT_FLOAT_EQ(outf[0], float(r.want));
    __vrsSSDeleteTask(&task);
  }
}

}  // namespace
}  // namespace oxl::test
