// Streaming quantiles: every answer's rank within epsilon N of its order's, the same bits however
// the stream is cut into calls and whatever the thread count, and the statuses in their order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "oxl/ss.h"
#include "stats/stats_fixture.h"
#include "support/failing_allocator.h"
#include "support/fake_threads.h"

namespace {

// A task over a p x n block of storage `storage` that the test refills between calls.
template <class T>
struct Stream {
  int64_t p, n, storage, count, param_count = 1;
  std::vector<T> x, orders, quantiles, params;
  SSTask* task = nullptr;
  Stream(int64_t p_, int64_t n_, int64_t storage_, std::vector<T> orders_, T epsilon)
      : p(p_), n(n_), storage(storage_), count(std::ssize(orders_)), x(p * n), orders(orders_) {
    quantiles.assign(p * count, T(-99));
    params = {epsilon};
    oxl::test::Pick<T>(__vrsdSSNewTask, __vrssSSNewTask)(&task, &p, &n, &storage, x.data(), nullptr,
                                                         nullptr, 1);
    oxl::test::Pick<T>(__vrsdSSEditStreamQuantiles, __vrssSSEditStreamQuantiles)(
        task, &count, orders.data(), quantiles.data(), &param_count, params.data());
  }
  ~Stream() { __vrsSSDeleteTask(&task); }
  // Observations [from, from + n) of each dimension's series, then the call.
  int Add(const std::vector<std::vector<T>>& series, int64_t from, uint64_t method,
          const SSThreadServices* services = nullptr) {
    for (int64_t d = 0; d < p; ++d) {
      for (int64_t j = 0; j < n; ++j) {
        x[storage == STORAGE_ROWS ? d * n + j : j * p + d] = series[d][from + j];
      }
    }
    return oxl::test::Pick<T>(_vrsdSSStreamQuantiles, _vrssSSStreamQuantiles)(task, 0, method,
                                                                              services);
  }
};

// Series with many repeated values (a tie rule matters), a long tail, and a rising one (every
// block unlike the others: a summary read in the wrong place is far off in rank).
template <class T>
std::vector<std::vector<T>> Series(int64_t p, int64_t total) {
  std::mt19937_64 rng(5);
  std::vector<std::vector<T>> s(p, std::vector<T>(total));
  for (int64_t d = 0; d < p; ++d) {
    for (int64_t j = 0; j < total; ++j) {
      s[d][j] = d == 0   ? static_cast<T>(rng() % 1000)
                : d == 1 ? static_cast<T>(std::ldexp(rng() * 0x1p-64, 9))
                         : static_cast<T>(j);
    }
  }
  return s;
}

// Every answer of an included dimension within epsilon N in rank among the first N observations
// of its series; an excluded dimension's answers not written. A stream short enough for all its
// summaries to be whole blocks (`exact`) has exact ranks: each answer is the order statistic
// whose rank is nearest q N in whole numbers, the lowest of a tie.
template <class T>
void CheckRanks(const std::vector<std::vector<T>>& series, int64_t count, const Stream<T>& s,
                T epsilon, const std::vector<int64_t>& inclusion, bool exact) {
  const std::vector<T>& orders = s.orders;
  for (int64_t d = 0; d < s.p; ++d) {
    if (inclusion[d] == 0) {
      EXPECT_EQ(s.quantiles[d * orders.size()], T(-99));
      continue;
    }
    std::vector<T> all(series[d].begin(), series[d].begin() + count);
    std::sort(all.begin(), all.end());
    const double n = static_cast<double>(count);
    for (size_t k = 0; k < orders.size(); ++k) {
      const T answer = s.quantiles[d * orders.size() + k];
      // The ranks the answer may have: its equal values span a range of them.
      const auto lo = std::lower_bound(all.begin(), all.end(), answer) - all.begin() + 1;
      const auto hi = std::upper_bound(all.begin(), all.end(), answer) - all.begin();
      ASSERT_LE(lo, hi) << "not an observation";
      const double target = orders[k] * n;
      const double miss = std::max({0.0, lo - target, target - hi});
      EXPECT_LE(miss, epsilon * n)
          << "dimension " << d << " order " << orders[k] << " of " << count;
      if (exact) {
        int64_t nearest = 1;
        for (int64_t r = 2; r <= count; ++r) {
          if (std::trunc(std::fabs(r - target)) < std::trunc(std::fabs(nearest - target))) {
            nearest = r;
          }
        }
        EXPECT_EQ(answer, all[nearest - 1]) << "dimension " << d << " order " << orders[k];
      }
    }
  }
}

// The stream of `total` observations in calls of `block`, answered half way and at the end, and
// again in calls of `cuts` answered at every call, on two and four threads: the same bits at the
// end, a query leaving the summaries as they were.
template <class T>
void CheckStream(int64_t storage, T epsilon, int64_t total, int64_t block,
                 std::vector<int64_t> cuts, std::vector<int64_t> inclusion, bool exact = false) {
  const int64_t p = 3;
  const auto series = Series<T>(p, total);
  const std::vector<T> orders = {0, T(0.01), T(0.25), T(0.5), T(0.9), 1};
  Stream<T> whole(p, block, storage, orders, epsilon);
  __vrsiSSEditTask(whole.task, SS_ED_INDC, inclusion.data());
  const int64_t half = total / block / 2 * block;
  for (int64_t at = 0; at < total; at += block) {
    const bool answer = at + block == half || at + block >= total;
    ASSERT_EQ(whole.Add(series, at, answer ? METHOD_STREAM_A : METHOD_STREAM_B), 0);
    if (at + block == half) CheckRanks(series, half, whole, epsilon, inclusion, exact);
  }
  CheckRanks(series, total, whole, epsilon, inclusion, exact);
  for (size_t c = 0; c < cuts.size(); ++c) {
    const int64_t piece = cuts[c];
    Stream<T> cut(p, piece, storage, orders, epsilon);
    __vrsiSSEditTask(cut.task, SS_ED_INDC, inclusion.data());
    const auto* threads = oxl::test::FakeThreads::StatsTable(c % 2 == 0 ? 2 : 4);
    for (int64_t at = 0; at < total; at += piece) {
      ASSERT_EQ(cut.Add(series, at, METHOD_STREAM_A, threads), 0);
    }
    EXPECT_EQ(0, std::memcmp(cut.quantiles.data(), whole.quantiles.data(),
                             sizeof(T) * whole.quantiles.size()))
        << "calls of " << piece;
  }
}

TEST(StreamQuantiles, RanksWithinEpsilonAndTheSameBitsForEveryCutAndThreadCount) {
  CheckStream<double>(STORAGE_ROWS, 0.01, 1000000, 10000, {}, {1, 1, 1});
  CheckStream<double>(STORAGE_COLS, 0.001, 1000000, 10000, {}, {1, 0, 1});
  CheckStream<double>(STORAGE_COLS, 0.01, 66000, 6000, {1000, 2000, 3000}, {1, 1, 1});
  CheckStream<float>(STORAGE_COLS, 0.01, 66000, 6000, {1000, 3000}, {0, 1, 1});
  CheckStream<float>(STORAGE_ROWS, 1, 6000, 600, {100}, {1, 1, 1});  // a summary of few entries
  // Up to the fourth block of the fourth stage, every summary is whole blocks.
  CheckStream<double>(STORAGE_COLS, 0.01, 2800, 700, {400}, {1, 1, 1}, true);
  CheckStream<float>(STORAGE_ROWS, 0.01, 2800, 700, {400, 200}, {1, 0, 1}, true);
}

TEST(StreamQuantiles, StatusesInTheirOrder) {
  const auto series = Series<double>(2, 100);
  Stream<double> s(2, 100, STORAGE_ROWS, {0.5}, 0.1);
  const auto status = [&](uint64_t method = METHOD_STREAM_A) { return s.Add(series, 0, method); };
  int64_t negative = -1;
  s.param_count = 2;
  EXPECT_EQ(status(), OXL_SS_ERROR_STREAM_PARAM_COUNT);
  s.param_count = 1;
  s.orders[0] = 1.5;
  EXPECT_EQ(status(), OXL_SS_ERROR_STREAM_ORDER_COUNT);
  s.orders[0] = 0.5;
  EXPECT_EQ(status(0), OXL_SS_ERROR_METHOD);
  for (const double bad : {0.0, 1.5, -0.1}) {
    s.params[0] = bad;
    EXPECT_EQ(status(), OXL_SS_ERROR_STREAM_EPSILON) << bad;
  }
  s.params[0] = 0.1;
  __vrsdSSEditStreamQuantiles(s.task, &negative, s.orders.data(), s.quantiles.data(),
                              &s.param_count, s.params.data());
  EXPECT_EQ(status(), OXL_SS_ERROR_STREAM_ORDER_COUNT);
  SSTask* bare = nullptr;  // no stream arrays at all
  __vrsdSSNewTask(&bare, &s.p, &s.n, &s.storage, s.x.data(), nullptr, nullptr, 1);
  EXPECT_EQ(_vrsdSSStreamQuantiles(bare, 0, METHOD_STREAM_A, nullptr),
            OXL_SS_ERROR_STREAM_QUANTILES);
  __vrsSSDeleteTask(&bare);
  // Nothing was written by a refused call.
  EXPECT_EQ(s.quantiles, std::vector<double>(2, -99));
  __vrsdSSEditStreamQuantiles(s.task, &s.count, s.orders.data(), s.quantiles.data(), &s.param_count,
                              s.params.data());
  // The summaries are made at the first call, n = 0 or not, for the dimensions it includes.
  std::vector<int64_t> first_only = {1, 0}, both = {1, 1};
  __vrsiSSEditTask(s.task, SS_ED_INDC, first_only.data());
  int64_t zero = 0;
  __vrsiSSEditTask(s.task, SS_ED_OBSERV_N, &zero);
  EXPECT_EQ(status(), 0);
  EXPECT_EQ(s.quantiles, std::vector<double>(2, -99));
  __vrsiSSEditTask(s.task, SS_ED_OBSERV_N, &s.n);
  EXPECT_EQ(status(), 0);
  EXPECT_EQ(s.quantiles[1], -99);
  __vrsiSSEditTask(s.task, SS_ED_INDC, both.data());
  EXPECT_EQ(status(), OXL_SS_ERROR_INCLUSION);
  __vrsiSSEditTask(s.task, SS_ED_OBSERV_N, &negative);
  EXPECT_EQ(status(), OXL_SS_ERROR_OBSERVATIONS);
}

// Every allocation of a task's life fails in turn (summaries made, stages opened, the sort and
// query scratch): -4000, nothing left allocated once the task is deleted, no quantile written.
TEST(StreamQuantiles, AllocationFailures) {
  const auto series = Series<double>(2, 3000);
  std::vector<double> quantiles(4, -99);
  const std::vector<oxl::test::FailureSweepRow> rows = {
      {"stream",
       [&]() -> int64_t {
         Stream<double> s(2, 1000, STORAGE_COLS, {0.1, 0.7}, 0.05);
         if (s.task == nullptr) return OXL_SS_ERROR_MEMORY;
         for (int64_t at = 0; at < 3000; at += 1000) {
           if (const int status = s.Add(series, at, METHOD_STREAM_B); status != 0) return status;
         }
         const int status = s.Add(series, 0, METHOD_STREAM_A);
         if (status == 0) quantiles = s.quantiles;
         return status;
       },
       OXL_SS_ERROR_MEMORY,
       {{quantiles.data(), quantiles.size() * sizeof(double)}}},
  };
  EXPECT_GE(oxl::test::SweepAllocationFailures(rows)[0], 4);
}

}  // namespace
