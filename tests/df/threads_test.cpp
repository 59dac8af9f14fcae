// Search, linear construction, interpolation and integration on real OpenMP threads, 2 to 4 of
// them, give the bits of one thread; sorted sites and limits too, where each block of a thread
// starts its walk from its own first site.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "df/df_test_util.h"
#include "oxl/omp_services.h"

namespace {

using oxl::test::TaskHolder;

TEST(DfThreads, SameResultsOnThreads) {
  const int64_t n = 3000, fc = 3, ns = 20000;
  std::vector<double> x(n), y(n * fc), sites(ns);
  for (int64_t i = 0; i < n; ++i) x[i] = i + 0.3 * std::sin(static_cast<double>(i));
  for (int64_t i = 0; i < n * fc; ++i) y[i] = std::cos(0.01 * static_cast<double>(i));
  for (int64_t i = 0; i < ns; ++i) sites[i] = -5.0 + 3010.0 * std::fabs(std::sin(0.7 * i));
  // Sorted sites with runs inside one cell, knots themselves and sites outside at both ends.
  std::vector<double> sorted = sites;
  for (int64_t i = 0; i < ns; i += 7) sorted[i] = x[(i * 13) % n];
  std::sort(sorted.begin(), sorted.end());
  std::vector<double> sorted_right(sorted);
  for (auto& s : sorted_right) s += 2.5;
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, fc, y.data(), 0, 1), 0);
  std::vector<double> coeff(2 * (n - 1) * fc);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, coeff.data(), 0),
            0);
  ASSERT_EQ(oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 0, nullptr), 0);
  const std::vector<double> serial_coeff = coeff;

  // Every result of one pass over the operations, with the given services.
  auto run = [&](const thread_services* services) {
    std::vector<double> out;
    auto add = [&out](const auto& v) { out.insert(out.end(), v.begin(), v.end()); };
    EXPECT_EQ(oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 0, services), 0);
    add(coeff);
    for (const auto* s : {&sites, &sorted}) {
      const int64_t hint = s == &sorted ? SITES_SORTED : SITES_NO_HINT;
      std::vector<int64_t> cells(ns);
      EXPECT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, ns, s->data(), hint, nullptr, cells.data(),
                                          nullptr, nullptr, services),
                0);
      add(cells);
    }
    const int64_t dorder[2] = {1, 1};
    for (int64_t hint : {16, 256}) {
      for (const auto* s : {&sites, &sorted}) {
        std::vector<double> r(ns * fc * 2);
        EXPECT_EQ(oxl_df_kernel_dDFInterpolate1D(
                      t.task, 0, 0, ns, s->data(), s == &sorted ? SITES_SORTED : SITES_NO_HINT, 2,
                      dorder, nullptr, r.data(), hint, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr, services),
                  0);
        add(r);
      }
    }
    std::vector<double> integrals(ns * fc);
    EXPECT_EQ(oxl_df_kernel_dDFIntegrate1D(t.task, 0, ns, sorted.data(), SITES_SORTED,
                                           sorted_right.data(), SITES_SORTED, nullptr, nullptr,
                                           integrals.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, services),
              0);
    add(integrals);
    return out;
  };
  const std::vector<double> serial = run(nullptr);
  EXPECT_EQ(coeff, serial_coeff);
  for (int32_t threads = 2; threads <= 4; ++threads) {
    oxl_services_set_num_threads(threads);
    const std::vector<double> threaded = run(oxl_services_omp_df());
    ASSERT_EQ(threaded.size(), serial.size());
    for (std::size_t i = 0; i < serial.size(); ++i) {
      ASSERT_EQ(std::bit_cast<uint64_t>(threaded[i]), std::bit_cast<uint64_t>(serial[i]))
          << threads << " threads, result " << i;
    }
  }
  oxl_services_set_num_threads(0);
}

}  // namespace
