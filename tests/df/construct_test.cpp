// Linear, standard quadratic and Subbotin constructors; the tridiagonal solver.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "df/df_test_util.h"
#include "support/failing_allocator.h"

namespace {

using oxl::test::FakeThreads;
using oxl::test::TaskHolder;

std::vector<double> Knots(int64_t n, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> gap(0.1, 1.0);
  std::vector<double> x(n);
  double v = -1.0;
  for (double& k : x) {
    k = v;
    v += gap(rng);
  }
  return x;
}

TEST(DfLinear, SecantsSerialItemsAndThreads) {
  // 127 and 128 knot-functions; 4 items serial, 5 items through the services.
  struct Case {
    int64_t n, fc;
  };
  for (const Case c : {Case{127, 1}, Case{64, 2}, Case{1025, 13}, Case{4097, 4}, Case{2, 1}}) {
    const std::vector<double> x = Knots(c.n, 3);
    std::vector<double> y(c.n * c.fc);
    for (size_t i = 0; i < y.size(); ++i) y[i] = std::sin(0.37 * static_cast<double>(i));
    for (int64_t values_hint : {VALUES_ROWS, VALUES_COLUMNS}) {
      TaskHolder t;
      ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, c.n, x.data(), 0, c.fc, y.data(), values_hint, 0),
                0);
      std::vector<double> coeff(2 * (c.n - 1) * c.fc, -99);
      ASSERT_EQ(
          oxl_df_kernel_dEditPPSpline1D(t.task, 2, 0, 0, nullptr, 0, nullptr, coeff.data(), 0), 0);
      const int64_t calls = FakeThreads::calls;
      ASSERT_EQ(oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 0, FakeThreads::Table()), 0);
      const int64_t items = ((c.n - 2) / 1024 + 1) * ((c.fc + 3) / 4);
      EXPECT_EQ(FakeThreads::calls - calls, c.n * c.fc >= 128 && items >= 5 ? 1 : 0);
      for (int64_t f = 0; f < c.fc; ++f) {
        for (int64_t i = 0; i + 1 < c.n; ++i) {
          const auto yv = [&](int64_t k) {
            return values_hint == VALUES_COLUMNS ? y[k * c.fc + f] : y[f * c.n + k];
          };
          const double* cf = coeff.data() + f * 2 * (c.n - 1) + 2 * i;
          ASSERT_EQ(cf[0], yv(i));
          ASSERT_EQ(cf[1], (yv(i + 1) - yv(i)) / (x[i + 1] - x[i]));
        }
      }
    }
  }
}

TEST(DfLinear, UniformGridPeriodicAndStatuses) {
  const int64_t n = 9;
  std::vector<double> full(n), y(n);
  for (int64_t i = 0; i < n; ++i) {
    full[i] = 0.5 + 0.125 * i;
    y[i] = std::cos(full[i]);
  }
  const double ends[2] = {0.5, 1.5};
  std::vector<double> a(2 * (n - 1)), b(2 * (n - 1));
  TaskHolder tu, tn;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&tu.task, n, ends, PARTITION_UNIFORM, 1, y.data(), 0, 0), 0);
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&tn.task, n, full.data(), 0, 1, y.data(), 0, 0), 0);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(tu.task, 2, 0, 0, nullptr, 0, nullptr, a.data(), 0), 0);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(tn.task, 2, 0, 0, nullptr, 0, nullptr, b.data(), 0), 0);
  ASSERT_EQ(oxl_df_kernel_dDFLinearSpline1D(tu.task, 0, 0, nullptr), 0);
  ASSERT_EQ(oxl_df_kernel_dDFLinearSpline1D(tn.task, 0, 0, nullptr), 0);
  for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], 1e-14 * (1 + std::fabs(b[i])));

  // Periodic: a mismatch writes nothing; equal ends pass.
  std::fill(b.begin(), b.end(), 7.0);
  ASSERT_EQ(
      oxl_df_kernel_dEditPPSpline1D(tn.task, 2, 0, BC_PERIODIC, nullptr, 0, nullptr, b.data(), 0),
      0);
  EXPECT_EQ(oxl_df_kernel_dDFLinearSpline1D(tn.task, 0, 0, nullptr), DF_STATUS_PERIODIC_MISMATCH);
  EXPECT_EQ(b[0], 7.0);
  y[n - 1] = y[0];
  EXPECT_EQ(oxl_df_kernel_dDFLinearSpline1D(tn.task, 0, 0, nullptr), 0);
  EXPECT_EQ(oxl_df_kernel_dDFLinearSpline1D(tn.task, 0, 1, nullptr), DF_STATUS_BAD_METHOD);
  tn->values_hint = 8;
  EXPECT_EQ(oxl_df_kernel_dDFLinearSpline1D(tn.task, 0, 0, nullptr), DF_STATUS_BAD_VALUES_HINT);
}

// A standard quadratic built on a parabola with m[0] taken from it is that parabola.
TEST(DfQuadratic, StandardReproducesParabolas) {
  for (int64_t n : {2, 3, 50, 4094, 4095}) {
    const std::vector<double> x = Knots(n, 7);
    const auto p = [](double v) { return 0.5 * v * v - 1.25 * v + 2.0; };
    std::vector<double> y(n);
    for (int64_t i = 0; i < n; ++i) y[i] = p(x[i]);
    const double m0 = p(0.5 * (x[0] + x[1]));
    std::vector<double> c(3 * (n - 1));
    TaskHolder t;
    ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, 1, y.data(), 0, 0), 0);
    ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 3, 0, BC_QUADRATIC_VALUE, &m0, 0, nullptr,
                                            c.data(), 0),
              0);
    oxl::test::AllocationScope scope;
    ASSERT_EQ(oxl_df_kernel_dDFQuadraticSpline1D(t.task, 0, 0, nullptr), 0);
    EXPECT_EQ(scope.allocations(), n >= 4095 ? 1 : 0) << n;
    // The midpoint recurrence carries rounding errors from cell to cell, scaled by the ratios of
    // neighbouring widths: over thousands of uneven cells they reach about 1e-6.
    const double tol = n > 100 ? 1e-4 : 1e-10;
    for (int64_t i = 0; i + 1 < n; ++i) {
      const double l = x[i];
      ASSERT_NEAR(c[3 * i], p(l), 1e-12);
      ASSERT_NEAR(c[3 * i + 1], l - 1.25, tol) << n << " " << i;
      ASSERT_NEAR(c[3 * i + 2], 0.5, tol) << n << " " << i;
    }
  }
}

TEST(DfQuadratic, FrontStatuses) {
  const std::vector<double> x = Knots(6, 1);
  std::vector<double> y(6), c(18), bc(2), ic(5, 0.0);
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 6, x.data(), 0, 1, y.data(), 0, 0), 0);
  struct Case {
    int64_t type, bc_type;
    const double* bc;
    int64_t ic_type;
    int32_t status;
  };
  const Case cases[] = {
      {0, 12, bc.data(), 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {0, 128, nullptr, 0, DF_STATUS_NO_BOUNDARY},
      {2, 12, bc.data(), IC_SUBGRID, DF_STATUS_BAD_METHOD},
      {1, 12, bc.data(), IC_SUBGRID_UNIFORM, DF_STATUS_BAD_INTERNAL_TYPE},
      {1, 1, nullptr, IC_SUBGRID, DF_STATUS_BAD_BOUNDARY_TYPE},
      {1, 64, nullptr, IC_SUBGRID, DF_STATUS_BAD_BOUNDARY_TYPE},
      {1, 40, bc.data(), IC_SUBGRID, DF_STATUS_BAD_BOUNDARY_TYPE},
      {1, 36, nullptr, IC_SUBGRID, DF_STATUS_NO_BOUNDARY},
  };
  for (const Case& k : cases) {
    t->spline_order = 3;
    t->spline_type = k.type;
    t->boundary_type = k.bc_type;
    t->boundary_data = const_cast<double*>(k.bc);
    t->internal_type = k.ic_type;
    t->internal_data = ic.data();
    ASSERT_EQ(oxl_df_kernel_dEditPtr(t.task, PTR_COEFFICIENTS, c.data()), 0);
    EXPECT_EQ(oxl_df_kernel_dDFQuadraticSpline1D(t.task, 0, 0, nullptr), k.status)
        << k.type << " " << k.bc_type;
  }
  t->values_hint = 3;
  EXPECT_EQ(oxl_df_kernel_dDFQuadraticSpline1D(t.task, 0, 0, nullptr), DF_STATUS_BAD_VALUES_HINT);
}

double Poly(const double* c, double t, int d) {
  switch (d) {
    case 0:
      return (c[2] * t + c[1]) * t + c[0];
    case 1:
      return 2 * c[2] * t + c[1];
    default:
      return 2 * c[2];
  }
}

// Subbotin: interpolates at the knots, is C1 at the subgrid walls, meets its end conditions, for
// every pair, loaded and uniform subgrids, uniform and explicit partitions, rows and columns.
TEST(DfQuadratic, SubbotinConditions) {
  const int64_t n = 12;
  const double ends[2] = {-2.0, 3.5};
  std::vector<double> x(n);
  for (int64_t i = 0; i < n; ++i) x[i] = std::fma(static_cast<double>(i), 5.5 / 11, -2.0);
  const int64_t fc = 2;
  std::vector<double> y(n * fc);
  for (size_t i = 0; i < y.size(); ++i) y[i] = std::exp(0.1 * static_cast<double>(i % 7)) - i % 3;
  const double bc[2] = {0.75, -1.5};
  for (bool uniform_sub : {false, true}) {
    std::vector<double> xi(n - 1);
    for (int64_t j = 0; j + 1 < n; ++j) {
      xi[j] =
          uniform_sub ? x[j] + 0.4 * (x[j + 1] - x[j]) : x[j] + (0.2 + 0.05 * j) * (x[1] - x[0]);
    }
    const double sub_ends[2] = {xi.front(), xi.back()};
    for (int64_t bc_type : {12, 36, 24, 48}) {
      for (bool uniform_grid : {false, true}) {
        for (int64_t values_hint : {VALUES_ROWS, VALUES_COLUMNS}) {
          TaskHolder t;
          ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, uniform_grid ? ends : x.data(),
                                             uniform_grid ? PARTITION_UNIFORM : 0, fc, y.data(),
                                             values_hint, 0),
                    0);
          std::vector<double> c(3 * n * fc);
          const int64_t ic = IC_SUBGRID | (uniform_sub ? IC_SUBGRID_UNIFORM : 0);
          ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 3, 1, bc_type, bc, ic,
                                                  uniform_sub ? sub_ends : xi.data(), c.data(), 0),
                    0);
          ASSERT_EQ(oxl_df_kernel_dDFQuadraticSpline1D(t.task, 0, 0, nullptr), 0);
          for (int64_t f = 0; f < fc; ++f) {
            const double* cf = c.data() + f * 3 * n;
            const auto yv = [&](int64_t k) {
              return values_hint == VALUES_COLUMNS ? y[k * fc + f] : y[f * n + k];
            };
            const auto wall = [&](int64_t w) { return w == 0 ? x[0] : xi[w - 1]; };
            for (int64_t k = 0; k < n; ++k) {  // cell k holds knot k
              const double* ck = cf + 3 * k;
              EXPECT_NEAR(Poly(ck, x[k] - wall(k), 0), yv(k), 1e-11);
              if (k + 1 < n) {  // continuity of value and slope at wall k+1
                const double* cn = cf + 3 * (k + 1);
                const double h = wall(k + 1) - wall(k);
                EXPECT_NEAR(Poly(ck, h, 0), cn[0], 1e-11);
                EXPECT_NEAR(Poly(ck, h, 1), cn[1], 1e-10);
              }
            }
            const int left_order = (bc_type & BC_LEFT_FIRST) != 0 ? 1 : 2;
            const int right_order = (bc_type & BC_RIGHT_FIRST) != 0 ? 1 : 2;
            EXPECT_NEAR(Poly(cf, 0.0, left_order), bc[0], 1e-10);
            EXPECT_NEAR(Poly(cf + 3 * (n - 1), x[n - 1] - xi[n - 2], right_order), bc[1], 1e-10);
          }
        }
      }
    }
  }
}

TEST(DfQuadratic, SubbotinWorkspaceFailure) {
  const std::vector<double> x = Knots(10, 2);
  std::vector<double> y(10, 1.0), c(30), xi(9);
  for (int j = 0; j < 9; ++j) xi[j] = 0.5 * (x[j] + x[j + 1]);
  const double bc[2] = {0, 0};
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, 10, x.data(), 0, 1, y.data(), 0, 0), 0);
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 3, 1, 48, bc, IC_SUBGRID, xi.data(), c.data(), 0),
            0);
  oxl::test::ForEachAllocationFailure(
      [&] { return oxl_df_kernel_dDFQuadraticSpline1D(t.task, 0, 0, nullptr); },
      [](int32_t status, bool failed) { EXPECT_EQ(status, failed ? DF_STATUS_NO_MEMORY : 0); });
}

// Against a dense solve, with systems that need row exchanges, several right-hand sides.
TEST(DfTridiagonal, SolvesWithPivoting) {
  std::mt19937_64 rng(9);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int64_t n : {1, 2, 3, 10, 57}) {
    const int64_t nrhs = 3, ldb = n + 2;
    std::vector<double> dl(n > 1 ? n - 1 : 1), d(n), du(n > 1 ? n - 1 : 1), b(ldb * nrhs);
    for (auto& v : dl) v = 3 * u(rng);  // sub-diagonal often larger than the diagonal
    for (auto& v : d) v = u(rng);
    for (auto& v : du) v = u(rng);
    for (auto& v : b) v = u(rng);
    const auto dl0 = dl, d0 = d, du0 = du, b0 = b;
    int64_t info = -99;
    ddtsvb_4dfl(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &ldb, &info);
    ASSERT_EQ(info, 0);
    for (int64_t r = 0; r < nrhs; ++r) {
      const double* s = b.data() + r * ldb;
      for (int64_t i = 0; i < n; ++i) {
        double row = d0[i] * s[i];
        if (i > 0) row += dl0[i - 1] * s[i - 1];
        if (i + 1 < n) row += du0[i] * s[i + 1];
        EXPECT_NEAR(row, b0[r * ldb + i], 1e-9) << n;
      }
    }
  }
  int64_t n = 2, nrhs = 1, ldb = 2, info = 0;
  double dl[1] = {0}, d[2] = {0, 1}, du[1] = {1}, b[2] = {1, 1};
  ddtsvb_4dfl(&n, &nrhs, dl, d, du, b, &ldb, &info);
  EXPECT_EQ(info, 1);
  ldb = 1;
  sdtsvb_4dfl(&n, &nrhs, nullptr, nullptr, nullptr, nullptr, &ldb, &info);
  EXPECT_EQ(info, -7);
}

}  // namespace
