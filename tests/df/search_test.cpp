// Cell search: every method against the brute-force cell, every form, splits and hints.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "df/df_test_util.h"
#include "df/search.h"
#include "support/failing_allocator.h"
#include "support/targets.h"

namespace {

using oxl::test::BruteCell;
using oxl::test::FakeThreads;
using oxl::test::TaskHolder;

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
  for (double k : x) {
    s.push_back(k);
    s.push_back(std::nextafter(k, -INFINITY));
    s.push_back(std::nextafter(k, INFINITY));
  }
  s.push_back(x.front() - 1e9);
  s.push_back(x.back() + 1e9);
  std::shuffle(s.begin(), s.end(), rng);
  return s;
}

struct SearchSetup {
  const char* name;
  int64_t partition_hint;
  int64_t site_hint;
  bool peak;
  bool callback;
  bool uniform_knots;
};

// Callback that guesses wildly and leaves every flag zero: the library must finish each site.
int32_t WildGuess(int64_t* n, const double* /*sites*/, void* cells, int32_t* flags, void* params,
                  void* library_params) {
  EXPECT_EQ(library_params, nullptr);
  const int64_t limit = *static_cast<int64_t*>(params);
  for (int64_t i = 0; i < *n; ++i) {
    const int64_t guess = (i * 7919) % (limit + 3) - 1;
    static_cast<int64_t*>(cells)[i] = guess;  // tests below run the 64-bit cell form
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
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n,
                                     setup.partition_hint == PARTITION_UNIFORM ? ends : x.data(),
                                     setup.partition_hint, 0, nullptr, 0, int_flag),
            0);
  double data_hint[5] = {0, 1, 0, 0, static_cast<double>(n / 3)};
  std::vector<Cell> cells(sites.size(), -5);
  int64_t limit = n;
  const int32_t status =
      oxl_df_kernel_dDFSearch1D(t.task, 0, static_cast<int64_t>(sites.size()), sites.data(),
                                setup.site_hint, setup.peak ? data_hint : nullptr, cells.data(),
                                setup.callback ? &WildGuess : nullptr, &limit, services);
  ASSERT_EQ(status, 0) << setup.name;
  for (size_t i = 0; i < sites.size(); ++i) {
    ASSERT_EQ(cells[i], BruteCell(x, sites[i]))
        << setup.name << " n=" << n << " site " << sites[i] << " #" << i;
  }
}

const SearchSetup kSetups[] = {
    {"hybrid", PARTITION_NO_HINT, 0, false, false, false},
    {"nonuniform hint", PARTITION_NONUNIFORM, 0, false, false, false},
    {"quasi-uniform", PARTITION_QUASIUNIFORM, 0, false, false, false},
    {"sorted", PARTITION_NO_HINT, SITES_SORTED, false, false, false},
    {"peak", PARTITION_NO_HINT, 0, true, false, false},
    {"uniform", PARTITION_UNIFORM, 0, false, false, true},
    {"user-defined", PARTITION_NO_HINT, 0, false, true, false},
    {"user-defined uniform", PARTITION_UNIFORM, 0, false, true, true},
};

TEST(DfSearch, EveryMethodAgreesWithBruteForce) {
  for (const SearchSetup& setup : kSetups) {
    for (int64_t n : {2, 3, 16, 17, 100, 1300}) {
      for (bool dup : {false, true}) {
        if (dup && (setup.uniform_knots || n < 5)) continue;
        SCOPED_TRACE(setup.name);
        // 64-bit cells (int_flag 1, 64Pack arithmetic) and 32-bit cells; one thread and a split
        // over eight.
        if (!setup.callback) CheckAll<int32_t>(setup, n, dup, nullptr, 0);
        CheckAll<int64_t>(setup, n, dup, nullptr, 1);
        CheckAll<int64_t>(setup, n, dup, FakeThreads::Table(), 1);
        if (!setup.callback) CheckAll<int32_t>(setup, n, dup, FakeThreads::Table(), 0);
      }
    }
  }
}

// The kernels in their forms, called directly on one span.
TEST(DfSearch, KernelFormsAgree) {
  std::mt19937_64 rng(5);
  const std::vector<double> x = MakeKnots(500, false, true, rng);
  std::vector<double> sites = MakeSites(x, rng);
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 500, x.data(), 0, 0, nullptr, 0, 0), 0);
  const int64_t ns = static_cast<int64_t>(sites.size());
  std::vector<int32_t> c32(ns);
  std::vector<int64_t> c64(ns), c64p(ns), cflag(ns);
  const double scale = t->bin_scale.d;
  auto* tab = t->search_table;
  ASSERT_EQ(oxl_df_kernel_dDFHybridSearch1D32(500, x.data(), ns, sites.data(), nullptr, nullptr,
                                              t->bin_count, tab, c32.data(), 0, nullptr, nullptr,
                                              nullptr, nullptr, scale),
            0);
  ASSERT_EQ(oxl_df_kernel_dDFHybridSearch1D64(500, x.data(), ns, sites.data(), nullptr, nullptr,
                                              t->bin_count, tab, c64.data(), 0, nullptr, nullptr,
                                              nullptr, nullptr, scale),
            0);
  ASSERT_EQ(oxl_df_kernel_dDFHybridSearch1D64Pack(500, x.data(), ns, sites.data(), nullptr, nullptr,
                                                  t->bin_count, tab, c64p.data(), 0, nullptr,
                                                  nullptr, nullptr, nullptr, scale),
            0);
  // flags 3: int_flag set, cells to the caller: 64-bit cells.
  ASSERT_EQ(oxl_df_kernel_dDFHybridSearch1D(500, x.data(), ns, sites.data(), nullptr, nullptr,
                                            t->bin_count, tab, cflag.data(), 3, nullptr, nullptr,
                                            nullptr, nullptr, scale),
            0);
  for (int64_t i = 0; i < ns; ++i) {
    const int64_t want = BruteCell(x, sites[i]);
    ASSERT_EQ(c32[i], want);
    ASSERT_EQ(c64[i], want);
    ASSERT_EQ(c64p[i], want);
    ASSERT_EQ(cflag[i], want);
  }
  // The sorted kernel writes its cursor back; a later span starts from it.
  std::sort(sites.begin(), sites.end());
  int32_t cursor = 0;
  const int64_t half = ns / 2;
  for (int64_t start : {int64_t{0}, half}) {
    const int64_t count = start == 0 ? half : ns - half;
    ASSERT_EQ(oxl_df_kernel_dDFSortedSearch1D32(500, x.data(), count, sites.data() + start, &cursor,
                                                nullptr, 0, nullptr, c32.data() + start, 0, nullptr,
                                                nullptr, nullptr, nullptr, 0.0),
              0);
  }
  for (int64_t i = 0; i < ns; ++i) ASSERT_EQ(c32[i], BruteCell(x, sites[i]));
  EXPECT_EQ(cursor, 500);
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
  for (int64_t i = 0; i < n; i += 7) {
    sites.push_back(x[i]);
    sites.push_back(std::nextafter(x[i], T(-1)));
  }
  sites.push_back(x[n - 1]);
  sites.push_back(std::numeric_limits<T>::quiet_NaN());
  const int64_t ns = static_cast<int64_t>(sites.size());
  TaskHolder t;
  if constexpr (sizeof(T) == 8) {
    ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, 0, nullptr, 0, 0), 0);
  } else {
    ASSERT_EQ(oxl_df_kernel_sNewTask1D(&t.task, n, x.data(), 0, 0, nullptr, 0, 0), 0);
  }
  std::vector<int64_t> want(ns);
  for (int64_t i = 0; i < ns - 1; ++i) want[i] = BruteCell(x, sites[i]);
  std::vector<T> shuffled = x;  // out of order
  std::shuffle(shuffled.begin() + n / 2, shuffled.end(), rng);
  std::vector<int64_t> first_bad;
  oxl::test::ForEachTarget([&](const std::string&) {
    for (int32_t form : {oxl::df::kForm32, oxl::df::kForm64, oxl::df::kForm64Pack}) {
      std::vector<int64_t> c64(ns);
      std::vector<int32_t> c32(ns);
      const oxl::df::SearchSpan<T> span{n,
                                        x.data(),
                                        ns,
                                        sites.data(),
                                        nullptr,
                                        nullptr,
                                        t->bin_count,
                                        t->search_table,
                                        form == oxl::df::kForm32 ? static_cast<void*>(c32.data())
                                                                 : static_cast<void*>(c64.data()),
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        oxl::df::BinScale<T>(t.task)};
      ASSERT_EQ(oxl::df::SearchKernelFor<T>(oxl::df::kHybrid, form)(span), 0);
      if (form == oxl::df::kForm32) std::copy(c32.begin(), c32.end(), c64.begin());
      for (int64_t i = 0; i < ns - 1; ++i) ASSERT_EQ(c64[i], want[i]) << "site " << sites[i];
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

TEST(DfSearch, SingleFormAgrees) {
  std::vector<float> x(70);
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<float>(i * i) * 0.01f;
  std::vector<float> sites;
  for (float k : x) {
    sites.push_back(k);
    sites.push_back(std::nextafter(k, 1e9f));
    sites.push_back(std::nextafter(k, -1e9f));
  }
  for (int64_t hint : {PARTITION_NO_HINT, PARTITION_QUASIUNIFORM}) {
    TaskHolder t;
    ASSERT_EQ(oxl_df_kernel_sNewTask1D(&t.task, 70, x.data(), hint, 0, nullptr, 0, 0), 0);
    std::vector<int32_t> cells(sites.size());
    ASSERT_EQ(oxl_df_kernel_sDFSearch1D(t.task, 0, static_cast<int64_t>(sites.size()), sites.data(),
                                        0, nullptr, cells.data(), nullptr, nullptr, nullptr),
              0);
    for (size_t i = 0; i < sites.size(); ++i) ASSERT_EQ(cells[i], BruteCell(x, sites[i]));
  }
}

// The callback's word is final at 1000, its flags decide otherwise, and a negative result stops.
int32_t FixedCells(int64_t* n, const double*, void* cells, int32_t* flags, void* params, void*) {
  const int32_t mode = *static_cast<int32_t*>(params);
  for (int64_t i = 0; i < *n; ++i) {
    static_cast<int32_t*>(cells)[i] = 77;
    flags[i] = 1;
  }
  return mode;
}

TEST(DfSearch, CallbackResults) {
  const double x[4] = {0, 1, 2, 3};
  const double sites[300] = {};
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 4, x, 0, 0, nullptr, 0, 0), 0);
  std::vector<int32_t> cells(300, -1);
  int32_t mode = 1000;
  EXPECT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 300, sites, 0, nullptr, cells.data(), &FixedCells,
                                      &mode, nullptr),
            0);
  EXPECT_EQ(cells[299], 77);  // never second-guessed
  mode = 5;
  EXPECT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 300, sites, 0, nullptr, cells.data(), &FixedCells,
                                      &mode, nullptr),
            5);
  mode = -42;
  EXPECT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 300, sites, 0, nullptr, cells.data(), &FixedCells,
                                      &mode, nullptr),
            -42);
}

TEST(DfSearch, MethodChoiceAndDataHint) {
  const double x[5] = {0, 1, 2, 3, 4};
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 5, x, 2, 0, nullptr, 0, 0), 0);
  const auto choose = [&](int64_t site_hint, const double* dh, bool cb) {
    int32_t m = -1;
    const int32_t s = oxl::df::ChooseSearchMethod(t.task, site_hint, dh, cb, &m);
    return s != 0 ? s : m;
  };
  EXPECT_EQ(choose(SITES_SORTED, nullptr, false), oxl::df::kQuasiUniform);
  EXPECT_EQ(choose(SITES_SORTED, nullptr, true), oxl::df::kUserDef);
  t->partition_hint = 0;
  EXPECT_EQ(choose(SITES_SORTED, nullptr, false), oxl::df::kSorted);
  double dh[5] = {0, 0.5, 0, 0, 2};
  EXPECT_EQ(choose(0, dh, false), DF_STATUS_BAD_DATA_HINT);
  dh[1] = 1;
  dh[4] = 5;  // n: the peak walks from the right end
  EXPECT_EQ(choose(0, dh, false), oxl::df::kPeak);
  dh[4] = 6;
  EXPECT_EQ(choose(0, dh, false), DF_STATUS_BAD_DATA_HINT);
  dh[1] = 0;
  EXPECT_EQ(choose(0, dh, false), oxl::df::kHybrid);
  std::vector<int32_t> cells(3, -9);
  const double sites[3] = {-1, 4, 5};
  dh[1] = 1;
  dh[4] = 5;
  ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 3, sites, 0, dh, cells.data(), nullptr, nullptr,
                                      nullptr),
            0);
  EXPECT_EQ(cells, (std::vector<int32_t>{0, 4, 5}));
  dh[4] = 6;
  ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 3, sites, 0, dh, cells.data(), nullptr, nullptr,
                                      nullptr),
            DF_STATUS_BAD_DATA_HINT);
}

TEST(DfSearch, UniformSitesBufferAllocatesAbove4096) {
  std::vector<double> x(300);
  for (size_t i = 0; i < x.size(); ++i) x[i] = std::sqrt(static_cast<double>(i));
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 300, x.data(), 0, 0, nullptr, 0, 0), 0);
  const double ends[2] = {-0.5, 18.0};
  for (int64_t ns : {4096, 5000}) {
    std::vector<int32_t> cells(ns);
    oxl::test::AllocationScope scope;
    ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, ns, ends, SITES_UNIFORM, nullptr, cells.data(),
                                        nullptr, nullptr, FakeThreads::Table()),
              0);
    EXPECT_EQ(scope.allocations(), ns > 4096 ? 1 : 0);
    EXPECT_EQ(scope.live(), 0);
    const double step = (ends[1] - ends[0]) / static_cast<double>(ns - 1);
    for (int64_t i = 0; i < ns; ++i) {
      ASSERT_EQ(cells[i], BruteCell(x, std::fma(static_cast<double>(i), step, ends[0])));
    }
  }
  oxl::test::AllocationScope failing(1);
  std::vector<int32_t> cells(5000);
  EXPECT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 5000, ends, SITES_UNIFORM, nullptr, cells.data(),
                                      nullptr, nullptr, nullptr),
            DF_STATUS_NO_MEMORY);
}

// A linear spline of one function on `n` knots (two ends when uniform), for the entries that
// need one; the coefficients are only pointed at.
template <class T>
struct LinearTask {
  std::vector<T> x, y, c;
  TaskHolder t;
  LinearTask(int64_t n, int64_t hint, int32_t int_flag)
      : x{0, static_cast<T>(n - 1), 2}, y(3, T(1)), c(4, T(1)) {
    if constexpr (sizeof(T) == 8) {
      EXPECT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), hint, 1, y.data(), 32, int_flag), 0);
      EXPECT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 128),
                0);
    } else {
      EXPECT_EQ(oxl_df_kernel_sNewTask1D(&t.task, n, x.data(), hint, 1, y.data(), 32, int_flag), 0);
      EXPECT_EQ(oxl_df_kernel_sEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 128),
                0);
    }
  }
};

template <class T>
int32_t Search(const LinearTask<T>& s, int64_t nsite, int64_t site_hint, void* cells) {
  const T ends[4] = {0, 1, T(0.5), T(0.25)};  // the two ends, or four sites
  if constexpr (sizeof(T) == 8) {
    return oxl_df_kernel_dDFSearch1D(s.t.task, 0, nsite, ends, site_hint, nullptr, cells, nullptr,
                                     nullptr, nullptr);
  } else {
    return oxl_df_kernel_sDFSearch1D(s.t.task, 0, nsite, ends, site_hint, nullptr, cells, nullptr,
                                     nullptr, nullptr);
  }
}

template <class T>
int32_t Interpolate(const LinearTask<T>& s, int64_t nsite, int64_t type, int64_t site_hint,
                    T* results, void* cells) {
  const T ends[4] = {0, 1, T(0.5), T(0.25)};  // the two ends, or four sites
  if constexpr (sizeof(T) == 8) {
    return oxl_df_kernel_dDFInterpolate1D(s.t.task, type, 0, nsite, ends, site_hint, 0, nullptr,
                                          nullptr, results, 0, cells, nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  } else {
    return oxl_df_kernel_sDFInterpolate1D(s.t.task, type, 0, nsite, ends, site_hint, 0, nullptr,
                                          nullptr, results, 0, cells, nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
}

template <class T>
int32_t Integrate(const LinearTask<T>& s, int64_t nlim, T* results) {
  const T ends[2] = {0, 1};
  if constexpr (sizeof(T) == 8) {
    return oxl_df_kernel_dDFIntegrate1D(s.t.task, 0, nlim, ends, SITES_UNIFORM, ends, SITES_UNIFORM,
                                        nullptr, nullptr, results, 0, nullptr, nullptr, nullptr,
                                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  } else {
    return oxl_df_kernel_sDFIntegrate1D(s.t.task, 0, nlim, ends, SITES_UNIFORM, ends, SITES_UNIFORM,
                                        nullptr, nullptr, results, 0, nullptr, nullptr, nullptr,
                                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
}

// Counts whose sizes do not fit: evenly spaced sites or limits whose buffer would wrap to a few
// bytes (2^61 + 1 doubles, 2^62 + 1 floats), and 32-bit cells of a partition past 2^31 knots.
// Each gets its status before any allocation and before anything is written.
TEST(DfSearch, HostileCountsAreRefusedBeforeAnyAllocation) {
  const int64_t wrap_d = (int64_t{1} << 61) + 1;
  const int64_t wrap_s = (int64_t{1} << 62) + 1;
  const int64_t past_32 = (int64_t{1} << 31) + 5;
  struct Row {
    const char* what;
    std::function<int32_t(void* out)> call;
    int32_t status;
  };
  const LinearTask<double> d(3, PARTITION_NO_HINT, 1);
  const LinearTask<float> f(3, PARTITION_NO_HINT, 1);
  const LinearTask<double> huge(past_32, PARTITION_UNIFORM, 0);
  const LinearTask<float> huge_s(past_32, PARTITION_UNIFORM, 0);
  const Row rows[] = {
      {"search d", [&](void* out) { return Search(d, wrap_d, SITES_UNIFORM, out); },
       DF_STATUS_NO_MEMORY},
      {"search s", [&](void* out) { return Search(f, wrap_s, SITES_UNIFORM, out); },
       DF_STATUS_NO_MEMORY},
      {"interpolate d",
       [&](void* out) {
         return Interpolate(d, wrap_d, 0, SITES_UNIFORM, static_cast<double*>(out), nullptr);
       },
       DF_STATUS_NO_MEMORY},
      {"interpolate s",
       [&](void* out) {
         return Interpolate(f, wrap_s, 0, SITES_UNIFORM, static_cast<float*>(out), nullptr);
       },
       DF_STATUS_NO_MEMORY},
      {"integrate d", [&](void* out) { return Integrate(d, wrap_d, static_cast<double*>(out)); },
       DF_STATUS_NO_MEMORY},
      {"integrate s", [&](void* out) { return Integrate(f, wrap_s, static_cast<float*>(out)); },
       DF_STATUS_NO_MEMORY},
      {"32-bit cells, search", [&](void* out) { return Search(huge, 4, 0, out); },
       DF_STATUS_BAD_PARTITION_SIZE},
      {"32-bit cells, search s", [&](void* out) { return Search(huge_s, 4, 0, out); },
       DF_STATUS_BAD_PARTITION_SIZE},
      {"32-bit cells, interpolate",
       [&](void* out) {
         return Interpolate(huge, 4, INTERP_CELLS_WANTED, 0, static_cast<double*>(out),
                            static_cast<double*>(out) + 8);
       },
       DF_STATUS_BAD_PARTITION_SIZE},
      {"32-bit cells, span kernel",
       [&](void* out) {
         const double sites[4] = {0, 1, 2, 3};
         return oxl_df_kernel_dDFUniformSearch1D32(past_32, huge.x.data(), 4, sites, nullptr,
                                                   nullptr, 0, nullptr, out, 0, nullptr, nullptr,
                                                   nullptr, nullptr, 0.0);
       },
       DF_STATUS_BAD_PARTITION_SIZE},
  };
  for (const Row& row : rows) {
    std::vector<unsigned char> out(256, 0xA5);
    oxl::test::AllocationScope scope;
    EXPECT_EQ(row.call(out.data()), row.status) << row.what;
    EXPECT_EQ(scope.allocations(), 0) << row.what;
    EXPECT_EQ(std::count(out.begin(), out.end(), 0xA5), 256) << row.what;
  }
  // 64-bit cells of the same partition come out whole.
  const LinearTask<double> wide(past_32, PARTITION_UNIFORM, 1);
  const double sites[4] = {2147483650.5, 2147483651.0, static_cast<double>(past_32 - 1),
                           static_cast<double>(past_32)};
  int64_t cells[4];
  ASSERT_EQ(oxl_df_kernel_dDFSearch1D(wide.t.task, 0, 4, sites, 0, nullptr, cells, nullptr, nullptr,
                                      nullptr),
            0);
  EXPECT_EQ(cells[0], 2147483651);
  EXPECT_EQ(cells[1], 2147483652);
  EXPECT_EQ(cells[2], past_32 - 1);
  EXPECT_EQ(cells[3], past_32);
  // At the largest size of the 64-bit form a site past the end still gets cell n, not n + 1.
  const LinearTask<double> widest(INT64_MAX, PARTITION_UNIFORM, 1);
  const double far[3] = {0x1p62, 0x1p63, 0x1p64};
  ASSERT_EQ(oxl_df_kernel_dDFSearch1D(widest.t.task, 0, 3, far, 0, nullptr, cells, nullptr, nullptr,
                                      nullptr),
            0);
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
  const std::vector<double> ends = {0.0, 39.0};
  struct Row {
    const char* what;
    int64_t hint;
    const double* knots;
    std::function<void(df_task*)> edit;
    int64_t n;
  };
  const Row rows[] = {
      {"new partition", PARTITION_NO_HINT, first.data(),
       [&](df_task* t) { EXPECT_EQ(oxl_df_kernel_dEditPtr(t, PTR_PARTITION, second.data()), 0); },
       40},
      {"new size", PARTITION_NONUNIFORM, second.data(),
       [&](df_task* t) { EXPECT_EQ(oxl_df_kernel_iEditVal(t, VAL_PARTITION_SIZE, 80), 0); }, 80},
      {"hint, then knots", PARTITION_UNIFORM, ends.data(),
       [&](df_task* t) {
         EXPECT_EQ(oxl_df_kernel_iEditVal(t, VAL_PARTITION_HINT, PARTITION_NONUNIFORM), 0);
         EXPECT_EQ(oxl_df_kernel_dEditPtr(t, PTR_PARTITION, second.data()), 0);
       },
       40},
      {"knots, then hint", PARTITION_UNIFORM, ends.data(),
       [&](df_task* t) {
         EXPECT_EQ(oxl_df_kernel_dEditPtr(t, PTR_PARTITION, second.data()), 0);
         EXPECT_EQ(oxl_df_kernel_iEditVal(t, VAL_PARTITION_HINT, PARTITION_NONUNIFORM), 0);
       },
       40},
  };
  for (const Row& row : rows) {
    TaskHolder t;
    ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 40, row.knots, row.hint, 0, nullptr, 0, 1), 0);
    row.edit(t.task);
    const std::vector<double> x(second.begin(), second.begin() + row.n);
    std::vector<double> sites;
    for (int i = 0; i < 97; ++i) sites.push_back(-1.0 + (x.back() + 2.0) * i / 96.0);
    std::vector<int64_t> cells(sites.size());
    ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, static_cast<int64_t>(sites.size()), sites.data(),
                                        0, nullptr, cells.data(), nullptr, nullptr, nullptr),
              0);
    for (size_t i = 0; i < sites.size(); ++i) {
      EXPECT_EQ(cells[i], BruteCell(x, sites[i])) << row.what << " site " << sites[i];
    }
  }
}

// A creation that fails after the record exists leaves the task to the caller without its
// table; a search on it still finds every cell, over the whole partition.
TEST(DfSearch, TaskWithoutItsTableSearchesTheWholePartition) {
  std::mt19937_64 rng(3);
  const std::vector<double> x = MakeKnots(300, false, true, rng);
  const std::vector<double> y(300, 1.0);
  df_task* task = nullptr;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&task, 300, x.data(), 0, -2, y.data(), 0, 1),
            DF_STATUS_BAD_FUNCTION_COUNT);
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->search_table, nullptr);
  const std::vector<double> sites = MakeSites(x, rng);
  std::vector<int32_t> cells(sites.size());  // the flag was not stored yet: 32-bit cells
  EXPECT_EQ(oxl_df_kernel_dDFSearch1D(task, 0, static_cast<int64_t>(sites.size()), sites.data(), 0,
                                      nullptr, cells.data(), nullptr, nullptr, nullptr),
            0);
  for (size_t i = 0; i < sites.size(); ++i) ASSERT_EQ(cells[i], BruteCell(x, sites[i])) << i;
  EXPECT_EQ(oxl_df_kernel_DeleteTask(&task), 0);
}

// Sorted search across a split: each share bisects for its own first site.
TEST(DfSearch, ThreadSplitsGiveTheSameCells) {
  std::mt19937_64 rng(11);
  const std::vector<double> x = MakeKnots(2000, false, false, rng);
  std::uniform_real_distribution<double> u(x.front() - 1, x.back() + 1);
  std::vector<double> sites(3001);
  for (double& s : sites) s = u(rng);
  std::sort(sites.begin(), sites.end());
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 2000, x.data(), 0, 0, nullptr, 0, 1), 0);
  std::vector<int64_t> serial(sites.size()), split(sites.size());
  for (int64_t site_hint : {SITES_SORTED, SITES_NO_HINT}) {
    ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 3001, sites.data(), site_hint, nullptr,
                                        serial.data(), nullptr, nullptr, nullptr),
              0);
    for (int32_t threads : {2, 3, 7, 64}) {
      FakeThreads::threads = threads;
      const int64_t calls = FakeThreads::calls;
      ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, 3001, sites.data(), site_hint, nullptr,
                                          split.data(), nullptr, nullptr, FakeThreads::Table()),
                0);
      EXPECT_EQ(FakeThreads::calls, calls + 1);
      EXPECT_EQ(split, serial) << threads;
    }
    FakeThreads::threads = 8;
  }
}

}  // namespace
