// Natural cubic construction and integration on real OpenMP threads give the bits of one thread.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "df/df_test_util.h"
#include "oxl/omp_services.h"

namespace {

using oxl::test::TaskHolder;

TEST(DfCubicThreads, SameBitsOnThreads) {
  const int64_t n = 1500, fc = 3, np = 4500;
  std::vector<double> x(n), y(n * fc), l(np), r(np);
  for (int64_t i = 0; i < n; ++i) x[i] = i + 0.3 * std::sin(static_cast<double>(i));
  for (int64_t i = 0; i < n * fc; ++i) y[i] = std::cos(0.01 * static_cast<double>(i));
  for (int64_t f = 0; f < fc; ++f) y[f * n + n - 1] = y[f * n];
  for (int64_t j = 0; j < np; ++j) {
    l[j] = -5.0 + 1510.0 * std::fabs(std::sin(0.7 * j));
    r[j] = -5.0 + 1510.0 * std::fabs(std::cos(0.3 * j));
  }
  oxl_services_set_num_threads(4);
  for (int64_t bc : {BC_NOT_A_KNOT, BC_PERIODIC}) {
    std::vector<double> serial(4 * (n - 1) * fc), threaded(serial.size());
    TaskHolder t;
    ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, fc, y.data(), 0, 1), 0);
    ASSERT_EQ(
        oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, bc, nullptr, 0, nullptr, threaded.data(), 0),
        0);
    ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, oxl_services_omp_df()), 0);
    ASSERT_EQ(oxl_df_kernel_dEditPtr(t.task, PTR_COEFFICIENTS, serial.data()), 0);
    ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr), 0);
    EXPECT_EQ(serial, threaded);

    std::vector<double> i1(np * fc), i4(np * fc);
    for (auto* run : {&i1, &i4}) {
      ASSERT_EQ(oxl_df_kernel_dDFIntegrate1D(t.task, 0, np, l.data(), 0, r.data(), 0, nullptr,
                                             nullptr, run->data(), 0, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr,
                                             run == &i4 ? oxl_services_omp_df() : nullptr),
                0);
    }
    EXPECT_EQ(i1, i4);
  }
  oxl_services_set_num_threads(0);
}

}  // namespace
