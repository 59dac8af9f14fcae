// Cell search: every method against the brute-force cell, every form, splits and hints.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <tuple>
#include <vector>

#include "df/df_test_util.h"
#include "df/search.h"
#include "support/failing_allocator.h"
#include "support/targets.h"

namespace {

using namespace oxl::test;

// Knots with runs of duplicates and uneven gaps; `uniform` gives evenly spaced knots.
std::vector<double> MakeKnots(int64_t n, bool uniform, bool duplicates, std::mt19937_64& rng) {
  std::vector<double> x(n);
  std::uniform_real_distribution<double> gap(0.05, 1.0);
  double v = -3.0;
  for (int64_t i = 0; i < n; ++i) {
    x[i] = uniform ? -3.0 + 0.25 * static_cast<double>(i) : v;
    v += (duplicates && i % 5 == 2 && i + 2 < n) ? 0.0 : gap(rng);
  }
  return x;
}

// Random sites, sites at, just below and just above every knot, and sites outside.
std::vector<double> MakeSites(const std::vector<double>& x, std::mt19937_64& rng) {
  std::vector<double> s;
  std::uniform_real_distribution<double> u(x.front() - 2.0, x.back() + 2.0);
  for (int i = 0; i < 300; ++i) s.push_back(u(rng));
  for (double k : x)
    s.insert(s.end(), {k, std::nextafter(k, -INFINITY), std::nextafter(k, INFINITY)});
  s.push_back(x.front() - 1e9);
  s.push_back(x.back() + 1e9);
  std::shuffle(s.begin(), s.end(), rng);
  return s;
}

void ExpectBruteCells(const std::vector<double>& x, const std::vector<double>& sites,
                      const auto& cells, const std::string& what) {
  for (size_t i = 0; i < sites.size(); ++i) {
    ASSERT_EQ(cells[i], BruteCell(x, sites[i])) << what << " site " << sites[i] << " #" << i;
  }
}

struct SearchSetup {
  const char* name;
  int64_t partition_hint, site_hint;
  bool peak, callback, uniform_knots;
};

// Callback that guesses wildly and leaves every flag zero: the library must finish each site.
int32_t WildGuess(int64_t* n, const double*, void* cells, int32_t* flags, void* params,
                  void* library_params) {
  EXPECT_EQ(library_params, nullptr);
  const int64_t limit = *static_cast<int64_t*>(params);
  for (int64_t i = 0; i < *n; ++i) {
    static_cast<int64_t*>(cells)[i] = (i * 7919) % (limit + 3) - 1;  // 64-bit cells below
    flags[i] = 0;
  }
  return 0;
}

template <class Cell>
void CheckAll(const SearchSetup& setup, int64_t n, bool duplicates, const thread_services* services,
              int32_t int_flag) {
  std::mt19937_64 rng(static_cast<uint64_t>(n) * 31 + (duplicates ? 1 : 0));
  const std::vector<double> x = MakeKnots(n, setup.uniform_knots, duplicates, rng);
  std::vector<double> sites = MakeSites(x, rng);
  if (setup.uniform_knots) {
    // The uniform formula scales s - x[0]; a site an ulp below a knot can round onto it. Such
    // sites have no exact cell to compare with.
    std::erase_if(sites, [&](double s) {
      const double k = std::round((s - x[0]) * 4.0) / 4.0 + x[0];
      return s != k && std::fabs(s - k) < 1e-12;
    });
  }
  if (setup.site_hint == SITES_SORTED) std::sort(sites.begin(), sites.end());
  const double ends[2] = {x.front(), x.back()};
  TaskHolder t;
  const bool uniform = setup.partition_hint == PARTITION_UNIFORM;
  ASSERT_EQ(NewTask(t, n, uniform ? ends : x.data(), setup.partition_hint, 0, nullptr, 0, int_flag),
            0);
  double data_hint[5] = {0, 1, 0, 0, static_cast<double>(n / 3)};
  std::vector<Cell> cells(sites.size(), -5);
  int64_t limit = n;
  ASSERT_EQ(
      oxl_df_kernel_dDFSearch1D(t.task, 0, static_cast<int64_t>(sites.size()), sites.data(),
                                setup.site_hint, setup.peak ? data_hint : nullptr, cells.data(),
                                setup.callback ? &WildGuess : nullptr, &limit, services),
      0);
  ExpectBruteCells(x, sites, cells, setup.name + (" n=" + std::to_string(n)));
}

TEST(DfSearch, EveryMethodAgreesWithBruteForce) {
  const SearchSetup setups[] = {
      {"hybrid", PARTITION_NO_HINT, 0, false, false, false},
      {"nonuniform hint", PARTITION_NONUNIFORM, 0, false, false, false},
      {"quasi-uniform", PARTITION_QUASIUNIFORM, 0, false, false, false},
      {"sorted", PARTITION_NO_HINT, SITES_SORTED, false, false, false},
      {"peak", PARTITION_NO_HINT, 0, true, false, false},
      {"uniform", PARTITION_UNIFORM, 0, false, false, true},
      {"user-defined", PARTITION_NO_HINT, 0, false, true, false},
      {"user-defined uniform", PARTITION_UNIFORM, 0, false, true, true},
  };
  for (const SearchSetup& setup : setups) {
    for (int64_t n : {2, 3, 16, 17, 100, 1300}) {
      for (bool dup : {false, true}) {
        if (dup && (setup.uniform_knots || n < 5)) continue;
        // 64-bit cells (int_flag 1, 64Pack arithmetic) and 32-bit cells; one thread and a split
        // over eight.
        for (const auto* services :
             {FakeThreads::Table(), static_cast<const thread_services*>(nullptr)}) {
          if (!setup.callback) CheckAll<int32_t>(setup, n, dup, services, 0);
          CheckAll<int64_t>(setup, n, dup, services, 1);
        }
      }
    }
  }
}

// Knots that crowd toward one end leave bins of hundreds of knots, so that the halving steps run
// before the count; every form on every SIMD target must find the brute-force cell. Knots that
// do not ascend give wrong cells, but the same ones on every target.
template <class T>
void HybridOnEveryTarget() {
  const int64_t n = 6000;
  std::vector<T> x(n);
  for (int64_t i = 0; i < n; ++i) x[i] = static_cast<T>(std::pow(static_cast<double>(i) / n, 6.0));
  for (int64_t i = 1; i < n; ++i) x[i] = std::max(x[i], x[i - 1]);  // float rounding keeps order
  std::mt19937_64 rng(17);
  std::uniform_real_distribution<double> u(-0.1, 1.1);
  std::vector<T> sites;
  for (int i = 0; i < 20000; ++i) sites.push_back(static_cast<T>(u(rng) * u(rng) * u(rng)));
  for (int64_t i = 0; i < n; i += 7) sites.insert(sites.end(), {x[i], std::nextafter(x[i], T(-1))});
  sites.push_back(x[n - 1]);
  sites.push_back(std::numeric_limits<T>::quiet_NaN());
  const int64_t ns = static_cast<int64_t>(sites.size());
  TaskHolder t;
  ASSERT_EQ(NewTask(t, n, x.data()), 0);
  std::vector<int64_t> want(ns);
  for (int64_t i = 0; i < ns - 1; ++i) want[i] = BruteCell(x, sites[i]);
  std::vector<T> shuffled = x;  // out of order
  std::shuffle(shuffled.begin() + n / 2, shuffled.end(), rng);
  std::vector<int64_t> first_bad;
  const T scale = oxl::df::BinScale<T>(t.task);
  ForEachTarget([&](const std::string&) {
    for (int32_t form : {oxl::df::kForm32, oxl::df::kForm64, oxl::df::kForm64Pack}) {
      std::vector<int64_t> c64(ns);
      std::vector<int32_t> c32(ns);
      void* out = form == oxl::df::kForm32 ? static_cast<void*>(c32.data()) : c64.data();
      const oxl::df::SearchSpan<T> span{
          n,   x.data(), ns,      sites.data(), nullptr, nullptr, t->bin_count, t->search_table,
          out, nullptr,  nullptr, nullptr,      nullptr, scale};
      ASSERT_EQ(oxl::df::SearchKernelFor<T>(oxl::df::kHybrid, form)(span), 0);
      if (form == oxl::df::kForm32) std::copy(c32.begin(), c32.end(), c64.begin());
      for (int64_t i = 0; i < ns - 1; ++i) ASSERT_EQ(c64[i], want[i]) << sites[i];
      EXPECT_GE(c64[ns - 1], 0);  // NaN: some cell, no crash
      EXPECT_LE(c64[ns - 1], n);
      auto bad = span;
      bad.partition = shuffled.data();
      bad.cells = c64.data();
      ASSERT_EQ(oxl::df::SearchKernelFor<T>(oxl::df::kHybrid, oxl::df::kForm64)(bad), 0);
      if (first_bad.empty()) first_bad = c64;
      ASSERT_EQ(c64, first_bad);
    }
  });
}

TEST(DfSearch, HybridOnEveryTarget) {
  HybridOnEveryTarget<double>();
  HybridOnEveryTarget<float>();
}

// The callback's word is final at 1000, its flags decide otherwise, and a negative result stops.
int32_t FixedCells(int64_t* n, const double*, void* cells, int32_t* flags, void* params, void*) {
  for (int64_t i = 0; i < *n; ++i) {
    static_cast<int32_t*>(cells)[i] = 77;
    flags[i] = 1;
  }
  return *static_cast<int32_t*>(params);
}

// The data hint's statuses and the callback's results.
TEST(DfSearch, DataHintAndCallback) {
  const double x[5] = {0, 1, 2, 3, 4};
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 5, x, PARTITION_QUASIUNIFORM), 0);
  std::vector<int32_t> cells(3, -9);
  // A peak at n walks from the right end; one past it, or a flag that is not 0 or 1, is refused.
  t->partition_hint = PARTITION_NO_HINT;
  const double sites[3] = {-1, 4, 5}, peak[5] = {0, 1, 0, 0, 5}, far[5] = {0, 1, 0, 0, 6},
               flag[5] = {0, 0.5, 0, 0, 2};
  ASSERT_EQ(Search(t.task, 3, sites, cells.data(), 0, nullptr, peak), 0);
  EXPECT_EQ(cells, (std::vector<int32_t>{0, 4, 5}));
  EXPECT_EQ(Search(t.task, 3, sites, cells.data(), 0, nullptr, far), DF_STATUS_BAD_DATA_HINT);
  EXPECT_EQ(Search(t.task, 3, sites, cells.data(), 0, nullptr, flag), DF_STATUS_BAD_DATA_HINT);
  // A callback goes before every method the hints would choose.
  t->partition_hint = PARTITION_QUASIUNIFORM;
  const double zeros[300] = {};
  cells.assign(300, -1);
  for (int32_t mode : {1000, 5, -42}) {
    EXPECT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 300, zeros, 0, nullptr, cells.data(),
                                        &FixedCells, &mode, nullptr),
              mode == 1000 ? 0 : mode);
  }
  EXPECT_EQ(cells[299], 77);  // never second-guessed
}

// A linear spline of one function on `n` knots (two ends when uniform), for the entries that
// need one; the coefficients are only pointed at.
template <class T>
struct LinearTask {
  std::vector<T> x, y, c;
  TaskHolder t;
  LinearTask(int64_t n, int64_t hint, int32_t int_flag)
      : x{0, static_cast<T>(n - 1), 2}, y(3, T(1)), c(4, T(1)) {
    EXPECT_EQ(NewTask(t, n, x.data(), hint, 1, y.data(), 32, int_flag), 0);
    EXPECT_EQ(EditSpline(t.task, c.data(), 2, 0, 0, nullptr, 0, nullptr, 128), 0);
  }
};

// Counts whose sizes do not fit, each refused with `status` before any allocation and before
// anything is written: evenly spaced sites or limits whose buffer would wrap to a few bytes
// (2^61 + 1 doubles, 2^62 + 1 floats) to search (entry 0), interpolate (1) and integrate (2),
// and 32-bit cells of a partition past 2^31 knots to search and interpolate.
template <class T>
void ExpectRefused(int entry, bool wrap) {
  const int64_t past_32 = (int64_t{1} << 31) + 5;
  const int64_t count = wrap ? (int64_t{1} << (sizeof(T) == 8 ? 61 : 62)) + 1 : 4;
  const int64_t hint = wrap ? SITES_UNIFORM : 0;
  const LinearTask<T> s(wrap ? 3 : past_32, wrap ? PARTITION_NO_HINT : PARTITION_UNIFORM, wrap);
  const T e[4] = {0, 1, T(0.5), T(0.25)};  // the two ends, or four sites
  std::vector<unsigned char> out(256, 0xA5);
  T* r = reinterpret_cast<T*>(out.data());
  AllocationScope scope;
  const int32_t status =
      entry == 0   ? Search(s.t.task, count, e, r, hint)
      : entry == 2 ? Integrate(s.t.task, count, e, e, r, 0, nullptr, hint, hint)
                   : (wrap ? Interpolate(s.t.task, count, e, 0, nullptr, r, 0, nullptr, hint)
                           : Interpolate(s.t.task, 4, e, 0, nullptr, r, 0, nullptr, 0,
                                         INTERP_CELLS_WANTED, r + 8));
  EXPECT_EQ(status, wrap ? DF_STATUS_NO_MEMORY : DF_STATUS_BAD_PARTITION_SIZE);
  EXPECT_EQ(scope.allocations(), 0);
  EXPECT_EQ(std::count(out.begin(), out.end(), 0xA5), 256);
}

TEST(DfSearch, HostileCountsAreRefusedBeforeAnyAllocation) {
  for (int entry = 0; entry < 3; ++entry) {
    for (bool wrap : {true, false}) {
      if (!wrap && entry == 2) continue;  // integration keeps its cells to itself
      SCOPED_TRACE(testing::Message() << "entry " << entry << (wrap ? " wrap" : " 32-bit cells"));
      ExpectRefused<double>(entry, wrap);
      ExpectRefused<float>(entry, wrap);
    }
  }
  const int64_t past_32 = (int64_t{1} << 31) + 5;
  const double e[4] = {0, 1, 2, 3};
  const LinearTask<double> huge(past_32, PARTITION_UNIFORM, 0);
  EXPECT_EQ(
      oxl_df_kernel_dDFUniformSearch1D32(past_32, huge.x.data(), 4, e, nullptr, nullptr, 0, nullptr,
                                         nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0.0),
      DF_STATUS_BAD_PARTITION_SIZE);
  // 64-bit cells of the same partition come out whole; at the largest size of the 64-bit form a
  // site past the end still gets cell n, not n + 1.
  const LinearTask<double> wide(past_32, PARTITION_UNIFORM, 1),
      widest(INT64_MAX, PARTITION_UNIFORM, 1);
  const double sites[4] = {2147483650.5, 2147483651.0, static_cast<double>(past_32 - 1),
                           static_cast<double>(past_32)};
  const double far[3] = {0x1p62, 0x1p63, 0x1p64};
  std::vector<int64_t> cells(4);
  ASSERT_EQ(Search(wide.t.task, 4, sites, cells.data()), 0);
  EXPECT_EQ(cells, (std::vector<int64_t>{2147483651, 2147483652, past_32 - 1, past_32}));
  ASSERT_EQ(Search(widest.t.task, 3, far, cells.data()), 0);
  EXPECT_EQ(cells[0], (int64_t{1} << 62) + 1);
  EXPECT_EQ(cells[1], INT64_MAX - 1);  // the last knot
  EXPECT_EQ(cells[2], INT64_MAX);
}

// Every edit that changes the knots leaves a table that the hybrid search can trust: a new
// partition, a new size, a uniform partition turned non-uniform before or after its knots come.
TEST(DfSearch, EditsOfThePartitionNeverLeaveAStaleTable) {
  std::vector<double> first(80), second(80);
  for (int i = 0; i < 80; ++i) {
    first[i] = i;
    second[i] = 0.025 * i * i;
  }
  const double ends[2] = {0.0, 39.0};
  const auto knots = [&](df_task* t) {
    return oxl_df_kernel_dEditPtr(t, PTR_PARTITION, second.data());
  };
  const auto hint = [](df_task* t) {
    return oxl_df_kernel_iEditVal(t, VAL_PARTITION_HINT, PARTITION_NONUNIFORM);
  };
  const std::tuple<const char*, int64_t, const double*, std::function<int32_t(df_task*)>, int64_t>
      rows[] = {
          {"new partition", PARTITION_NO_HINT, first.data(), knots, 40},
          {"new size", PARTITION_NONUNIFORM, second.data(),
           [&](df_task* t) { return oxl_df_kernel_iEditVal(t, VAL_PARTITION_SIZE, 80); }, 80},
          {"hint, then knots", PARTITION_UNIFORM, ends,
           [&](df_task* t) { return hint(t) | knots(t); }, 40},
          {"knots, then hint", PARTITION_UNIFORM, ends,
           [&](df_task* t) { return knots(t) | hint(t); }, 40},
      };
  for (const auto& [what, partition_hint, partition, edit, n] : rows) {
    TaskHolder t;
    ASSERT_EQ(NewTask(t, 40, partition, partition_hint, 0, nullptr, 0, 1), 0);
    ASSERT_EQ(edit(t.task), 0);
    const std::vector<double> x(second.begin(), second.begin() + n);
    std::vector<double> sites;
    for (int i = 0; i < 97; ++i) sites.push_back(-1.0 + (x.back() + 2.0) * i / 96.0);
    std::vector<int64_t> cells(sites.size());
    ASSERT_EQ(Search(t.task, static_cast<int64_t>(sites.size()), sites.data(), cells.data()), 0);
    ExpectBruteCells(x, sites, cells, what);
  }
}

// A creation that fails after the record exists leaves the task to the caller without its
// table; a search on it still finds every cell, over the whole partition.
TEST(DfSearch, TaskWithoutItsTableSearchesTheWholePartition) {
  std::mt19937_64 rng(3);
  const std::vector<double> x = MakeKnots(300, false, true, rng);
  const std::vector<double> y(300, 1.0);
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 300, x.data(), 0, -2, y.data(), 0, 1), DF_STATUS_BAD_FUNCTION_COUNT);
  ASSERT_NE(t.task, nullptr);
  EXPECT_EQ(t->search_table, nullptr);
  const std::vector<double> sites = MakeSites(x, rng);
  std::vector<int32_t> cells(sites.size());  // the flag was not stored yet: 32-bit cells
  EXPECT_EQ(Search(t.task, static_cast<int64_t>(sites.size()), sites.data(), cells.data()), 0);
  ExpectBruteCells(x, sites, cells, "no table");
}

}  // namespace
