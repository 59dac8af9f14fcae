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

// Series with many repeated values (a tie rule matters) and a long tail.
template <class T>
std::vector<std::vector<T>> Series(int64_t p, int64_t total) {
  std::mt19937_64 rng(5);
  std::vector<std::vector<T>> s(p, std::vector<T>(total));
  for (int64_t d = 0; d < p; ++d) {
    for (auto& v : s[d]) {
      v = d == 0 ? static_cast<T>(rng() % 1000)
                 : static_cast<T>(std::ldexp(rng() * 0x1p-64, d * 9));
    }
  }
  return s;
}

// The stream of `total` observations in calls of `block`, and again in calls of `cuts` on two
// threads (the same bits); every answer of an included dimension within epsilon N in rank.
template <class T>
void CheckStream(int64_t storage, T epsilon, int64_t total, int64_t block,
                 std::vector<int64_t> cuts, std::vector<int64_t> inclusion) {
  const int64_t p = 3;
  const auto series = Series<T>(p, total);
  const std::vector<T> orders = {0, T(0.01), T(0.25), T(0.5), T(0.9), 1};
  Stream<T> whole(p, block, storage, orders, epsilon);
  __vrsiSSEditTask(whole.task, SS_ED_INDC, inclusion.data());
  for (int64_t at = 0; at < total; at += block) {
    ASSERT_EQ(whole.Add(series, at, at + block < total ? METHOD_STREAM_B : METHOD_STREAM_A), 0);
  }
  for (const int64_t piece : cuts) {
    Stream<T> cut(p, piece, storage, orders, epsilon);
    __vrsiSSEditTask(cut.task, SS_ED_INDC, inclusion.data());
    for (int64_t at = 0; at < total; at += piece) {
      const uint64_t method = at + piece < total ? METHOD_STREAM_B : METHOD_STREAM_A;
      ASSERT_EQ(cut.Add(series, at, method, oxl::test::FakeThreads::StatsTable(2)), 0);
    }
    EXPECT_EQ(0, std::memcmp(cut.quantiles.data(), whole.quantiles.data(),
                             sizeof(T) * whole.quantiles.size()))
        << "calls of " << piece;
  }
  for (int64_t d = 0; d < p; ++d) {
    if (inclusion[d] == 0) {
      EXPECT_EQ(whole.quantiles[d * orders.size()], T(-99));
      continue;
    }
    std::vector<T> all(series[d]);
    std::sort(all.begin(), all.end());
    const double n = static_cast<double>(all.size());
    for (size_t k = 0; k < orders.size(); ++k) {
      const T answer = whole.quantiles[d * orders.size() + k];
      // The ranks the answer may have: its equal values span a range of them.
      const auto lo = std::lower_bound(all.begin(), all.end(), answer) - all.begin() + 1;
      const auto hi = std::upper_bound(all.begin(), all.end(), answer) - all.begin();
      ASSERT_LE(lo, hi) << "not an observation";
      const double target = orders[k] * n;
      const double miss = std::max({0.0, lo - target, target - hi});
      EXPECT_LE(miss, epsilon * n) << "dimension " << d << " order " << orders[k];
    }
  }
}

TEST(StreamQuantiles, RanksWithinEpsilonAndTheSameBitsForEveryCutAndThreadCount) {
  CheckStream<double>(STORAGE_ROWS, 0.01, 1000000, 10000, {}, {1, 1, 1});
  CheckStream<double>(STORAGE_COLS, 0.001, 1000000, 10000, {}, {1, 0, 1});
  CheckStream<double>(STORAGE_COLS, 0.01, 66000, 6000, {1000, 2000, 3000}, {1, 1, 1});
  CheckStream<float>(STORAGE_COLS, 0.01, 66000, 6000, {1000, 3000}, {0, 1, 1});
  CheckStream<float>(STORAGE_ROWS, 1, 6000, 600, {100}, {1, 1, 1});  // a summary of few entries
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
