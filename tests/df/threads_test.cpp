// Search, linear construction and interpolation on real OpenMP threads give the bits of one
// thread.
#include <gtest/gtest.h>

#include <cmath>
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
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, fc, y.data(), 0, 1), 0);
  std::vector<double> coeff(2 * (n - 1) * fc);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, coeff.data(), 0),
            0);
  oxl_services_set_num_threads(4);
  ASSERT_EQ(oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 0, oxl_services_omp_df()), 0);
  const std::vector<double> threaded_coeff = coeff;
  ASSERT_EQ(oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 0, nullptr), 0);
  EXPECT_EQ(coeff, threaded_coeff);

  std::vector<int64_t> c1(ns), c4(ns);
  ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, ns, sites.data(), 0, nullptr, c1.data(), nullptr,
                                      nullptr, nullptr),
            0);
  ASSERT_EQ(oxl_df_kernel_dDFSearch1D(t.task, 0, ns, sites.data(), 0, nullptr, c4.data(), nullptr,
                                      nullptr, oxl_services_omp_df()),
            0);
  EXPECT_EQ(c1, c4);
  const int64_t dorder[2] = {1, 1};
  for (int64_t hint : {16, 256}) {
    std::vector<double> r1(ns * fc * 2), r4(ns * fc * 2);
    ASSERT_EQ(oxl_df_kernel_dDFInterpolate1D(t.task, 0, 0, ns, sites.data(), 0, 2, dorder, nullptr,
                                             r1.data(), hint, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              0);
    ASSERT_EQ(
        oxl_df_kernel_dDFInterpolate1D(t.task, 0, 0, ns, sites.data(), 0, 2, dorder, nullptr,
                                       r4.data(), hint, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr, oxl_services_omp_df()),
        0);
    EXPECT_EQ(r1, r4);
  }
  oxl_services_set_num_threads(0);
}

}  // namespace
