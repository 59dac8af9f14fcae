// Construction: linear, standard quadratic and Subbotin splines; natural cubic splines against
// scipy's CubicSpline (values, derivatives and integrals, every boundary pair, uniform and
// non-uniform grids, rows and columns); the statuses of every constructor, the threading rule and
// the pivoting tridiagonal solver.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <vector>

#include "df/df_test_util.h"
#include "support/failing_allocator.h"

namespace {

using namespace oxl::test;

// Secants in rows and columns, serial below 128 knot-functions or 5 items, through the services
// above.
TEST(DfLinear, SecantsSerialItemsAndThreads) {
  const int64_t cases[][2] = {{127, 1}, {64, 2}, {1025, 13}, {4097, 4}, {2, 1}};
  for (const auto& [n, fc] : cases) {
    const std::vector<double> x = Knots(n, 3);
    std::vector<double> y(n * fc);
    for (size_t i = 0; i < y.size(); ++i) y[i] = std::sin(0.37 * static_cast<double>(i));
    for (int64_t values_hint : {VALUES_ROWS, VALUES_COLUMNS}) {
      TaskHolder t;
      ASSERT_EQ(NewTask(t, n, x.data(), 0, fc, y.data(), values_hint), 0);
      std::vector<double> coeff(2 * (n - 1) * fc, -99);
      ASSERT_EQ(EditSpline(t.task, coeff.data(), 2, 0), 0);
      const int64_t calls = FakeThreads::calls;
      ASSERT_EQ(Construct<double>(t.task, FakeThreads::Table()), 0);
      const int64_t items = ((n - 2) / 1024 + 1) * ((fc + 3) / 4);
      EXPECT_EQ(FakeThreads::calls - calls, n * fc >= 128 && items >= 5 ? 1 : 0);
      for (int64_t f = 0; f < fc; ++f) {
        const auto yv = [&](int64_t k) {
          return values_hint == VALUES_COLUMNS ? y[k * fc + f] : y[f * n + k];
        };
        for (int64_t i = 0; i + 1 < n; ++i) {
          const double* cf = coeff.data() + f * 2 * (n - 1) + 2 * i;
          ASSERT_EQ(cf[0], yv(i));
          ASSERT_EQ(cf[1], (yv(i + 1) - yv(i)) / (x[i + 1] - x[i]));
        }
      }
    }
  }
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
    ASSERT_EQ(NewTask(t, n, x.data(), 0, 1, y.data()), 0);
    ASSERT_EQ(EditSpline(t.task, c.data(), 3, 0, BC_QUADRATIC_VALUE, &m0), 0);
    AllocationScope scope;
    ASSERT_EQ(Construct<double>(t.task), 0);
    EXPECT_EQ(scope.allocations(), n >= 4095 ? 1 : 0) << n;
    // The midpoint recurrence carries rounding errors from cell to cell, scaled by the ratios of
    // neighbouring widths: over thousands of uneven cells they reach about 1e-6.
    const double tol = n > 100 ? 1e-4 : 1e-10;
    for (int64_t i = 0; i + 1 < n; ++i) {
      ASSERT_NEAR(c[3 * i], p(x[i]), 1e-12);
      ASSERT_NEAR(c[3 * i + 1], x[i] - 1.25, tol) << n << " " << i;
      ASSERT_NEAR(c[3 * i + 2], 0.5, tol) << n << " " << i;
    }
  }
}

// Every constructor's statuses from the task's fields; a failure leaves the coefficients.
TEST(DfConstruct, Statuses) {
  std::vector<double> x = Knots(6, 1), y = {1, 2, 0, 3, 4, 2}, c(20, 9.0), ic(5, 0.0);
  const double bd[2] = {0.5, 0.5};
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 6, x.data(), 0, 1, y.data()), 0);
  struct Row {
    int64_t order, type, bc;
    const double* bd;
    int64_t ic_type, values_hint, method;
    int32_t status;
  };
  const Row rows[] = {
      {2, 0, BC_PERIODIC, nullptr, 0, 0, 0, DF_STATUS_PERIODIC_MISMATCH},  // y[0] != y[5]
      {2, 0, 0, nullptr, 0, 0, 1, DF_STATUS_BAD_METHOD},
      {2, 0, 0, nullptr, 0, 8, 0, DF_STATUS_BAD_VALUES_HINT},
      {3, 0, 12, bd, 0, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {3, 0, 128, nullptr, 0, 0, 0, DF_STATUS_NO_BOUNDARY},
      {3, 2, 12, bd, IC_SUBGRID, 0, 0, DF_STATUS_BAD_METHOD},
      {3, 1, 12, bd, IC_SUBGRID_UNIFORM, 0, 0, DF_STATUS_BAD_INTERNAL_TYPE},
      {3, 1, 1, nullptr, IC_SUBGRID, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {3, 1, 64, nullptr, IC_SUBGRID, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {3, 1, 40, bd, IC_SUBGRID, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {3, 1, 36, nullptr, IC_SUBGRID, 0, 0, DF_STATUS_NO_BOUNDARY},
      {3, 0, 128, bd, 0, 3, 0, DF_STATUS_BAD_VALUES_HINT},
      {4, 2, BC_NOT_SET, bd, 0, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {4, 2, BC_NOT_A_KNOT | BC_FREE_END, bd, 0, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {4, 2, BC_LEFT_FIRST, bd, 0, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {4, 2, BC_QUADRATIC_VALUE, bd, 0, 0, 0, DF_STATUS_BAD_BOUNDARY_TYPE},
      {4, 2, BC_LEFT_FIRST | BC_RIGHT_SECOND, nullptr, 0, 0, 0, DF_STATUS_NO_BOUNDARY},
      {4, 0, BC_PERIODIC, nullptr, 0, 0, 0, DF_STATUS_NO_BOUNDARY},
      {4, 3, BC_PERIODIC, nullptr, 0, 0, 0, DF_STATUS_NO_BOUNDARY},
      {4, 2, BC_PERIODIC, nullptr, 0, 0, 0, DF_STATUS_PERIODIC_MISMATCH},
      {4, 2, BC_FREE_END, nullptr, 0, 0, 1, DF_STATUS_BAD_METHOD},
      {4, 2, BC_FREE_END, nullptr, 0, 8, 0, DF_STATUS_BAD_VALUES_HINT},
      {4, 2, BC_FREE_END, nullptr, 0, 0, 0, 0},
  };
  for (const Row& row : rows) {
    ASSERT_EQ(oxl_df_kernel_dEditPtr(t.task, PTR_COEFFICIENTS, c.data()), 0);
    t->spline_order = row.order;
    t->spline_type = row.type;
    t->boundary_type = row.bc;
    t->boundary_data = const_cast<double*>(row.bd);
    t->internal_type = row.ic_type;
    t->internal_data = ic.data();
    t->values_hint = row.values_hint;
    std::fill(c.begin(), c.end(), 9.0);
    const int32_t status = row.method == 0 ? Construct<double>(t.task)
                           : row.order == 2
                               ? oxl_df_kernel_dDFLinearSpline1D(t.task, 0, 1, nullptr)
                               : oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 1, nullptr);
    EXPECT_EQ(status, row.status) << row.order << " " << row.type << " " << row.bc;
    EXPECT_TRUE(row.status == 0 || c[0] == 9.0) << "coefficients touched";
  }
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(nullptr, 0, 0, nullptr), DF_STATUS_NO_TASK);
  // A periodic linear spline with equal ends.
  t->spline_order = 2;
  t->boundary_type = BC_PERIODIC;
  y[5] = y[0];
  EXPECT_EQ(Construct<double>(t.task), 0);
}

double Poly(const double* c, double t, int d) {
  return d == 0 ? (c[2] * t + c[1]) * t + c[0] : d == 1 ? 2 * c[2] * t + c[1] : 2 * c[2];
}

// Subbotin: interpolates at the knots, is C1 at the subgrid walls, meets its end conditions, for
// every pair, loaded and uniform subgrids, uniform and explicit partitions, rows and columns.
TEST(DfQuadratic, SubbotinConditions) {
  const int64_t n = 12, fc = 2;
  const double ends[2] = {-2.0, 3.5};
  std::vector<double> x(n), y(n * fc);
  for (int64_t i = 0; i < n; ++i) x[i] = std::fma(static_cast<double>(i), 5.5 / 11, -2.0);
  for (size_t i = 0; i < y.size(); ++i) y[i] = std::exp(0.1 * static_cast<double>(i % 7)) - i % 3;
  const double bc[2] = {0.75, -1.5};
  for (bool uniform_sub : {false, true}) {
    std::vector<double> xi(n - 1);
    for (int64_t j = 0; j + 1 < n; ++j) {
      xi[j] =
          uniform_sub ? x[j] + 0.4 * (x[j + 1] - x[j]) : x[j] + (0.2 + 0.05 * j) * (x[1] - x[0]);
    }
    const double sub_ends[2] = {xi.front(), xi.back()};
    const int64_t ic = IC_SUBGRID | (uniform_sub ? IC_SUBGRID_UNIFORM : 0);
    for (int64_t bc_type : {12, 36, 24, 48}) {
      for (bool uniform_grid : {false, true}) {
        for (int64_t values_hint : {VALUES_ROWS, VALUES_COLUMNS}) {
          TaskHolder t;
          ASSERT_EQ(NewTask(t, n, uniform_grid ? ends : x.data(),
                            uniform_grid ? PARTITION_UNIFORM : 0, fc, y.data(), values_hint),
                    0);
          std::vector<double> c(3 * n * fc);
          ASSERT_EQ(EditSpline(t.task, c.data(), 3, 1, bc_type, bc, ic,
                               uniform_sub ? sub_ends : xi.data()),
                    0);
          ASSERT_EQ(Construct<double>(t.task), 0);
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
                const double h = wall(k + 1) - wall(k);
                EXPECT_NEAR(Poly(ck, h, 0), ck[3], 1e-11);
                EXPECT_NEAR(Poly(ck, h, 1), ck[4], 1e-10);
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

// |got - want| within rel times the largest |want| of the group (norm-wise); the data are of
// unit size, so a quantity that vanishes is measured against 1.
void ExpectClose(const double* got, const double* want, int64_t count, double rel,
                 const std::string& what) {
  double scale = 1;
  for (int64_t i = 0; i < count; ++i) scale = std::max(scale, std::fabs(want[i]));
  for (int64_t i = 0; i < count; ++i) {
    ASSERT_LE(std::fabs(got[i] - want[i]), rel * scale)
        << what << " element " << i << ": " << got[i] << " vs " << want[i];
  }
}

// The cases of tests/df/data/cubic.txt (made by make_cubic_data.py; roles as documented there),
// the values in row or column storage.
TEST(DfNaturalCubic, MatchesScipyCubicSpline) {
  const std::map<int, Roles> cases = LoadCases("cubic.txt");
  ASSERT_EQ(cases.size(), 20u);
  for (const auto& [id, role] : cases) {
    const std::vector<double>& p = role.at(6);
    const int64_t boundary = static_cast<int64_t>(p[0]), n = static_cast<int64_t>(p[2]);
    const int64_t fc = static_cast<int64_t>(p[3]);
    const std::vector<double>& sites = role.at(2);
    const std::vector<double>& left = role.at(7);
    const int64_t ns = std::ssize(sites), np = std::ssize(left);
    std::vector<double> x = role.at(0);
    if (p[1] != 0) x = {x.front(), x.back()};
    for (bool rows : {true, false}) {
      SCOPED_TRACE("case " + std::to_string(id) + (rows ? " rows" : " columns"));
      std::vector<double> y(n * fc), coeff(4 * (n - 1) * fc);
      for (int64_t f = 0; f < fc; ++f) {
        for (int64_t i = 0; i < n; ++i) y[rows ? f * n + i : i * fc + f] = role.at(1)[f * n + i];
      }
      TaskHolder t;
      ASSERT_EQ(NewTask(t, n, x.data(), p[1] != 0 ? PARTITION_UNIFORM : PARTITION_NONUNIFORM, fc,
                        y.data(), rows ? VALUES_ROWS : VALUES_COLUMNS, 1),
                0);
      ASSERT_EQ(EditSpline(t.task, coeff.data(), 4, 2, boundary, p.data() + 4), 0);
      ASSERT_EQ(Construct<double>(t.task, FakeThreads::Table()), 0);
      const int64_t dorder[3] = {1, 1, 1};
      std::vector<double> r(ns * 3 * fc), integrals(np * fc);
      ASSERT_EQ(
          Interpolate(t.task, ns, sites.data(), 3, dorder, r.data(), INTERP_RESULTS_BY_DERIVATIVE),
          0);
      ASSERT_EQ(Integrate(t.task, np, left.data(), role.at(8).data(), integrals.data()), 0);
      for (int64_t f = 0; f < fc; ++f) {
        for (int k = 0; k < 3; ++k) {
          ExpectClose(r.data() + (f * 3 + k) * ns, role.at(3 + k).data() + f * ns, ns, 1e-12,
                      "derivative " + std::to_string(k));
        }
        EXPECT_EQ(integrals[f * np], 0.0);  // an empty range
        ExpectClose(integrals.data() + f * np, role.at(9).data() + f * np, np, 1e-12, "integral");
      }
    }
  }
}

// Two knots leave not-a-knot no room (the other conditions build their one cell, as the scipy
// cases show); one knot is refused. Coincident knots give not-a-knot a zero first pivot: the
// pivoting solver takes over and the call completes (the spline of such data is not defined;
// under the sanitizers this path is checked for its memory).
TEST(DfNaturalCubic, FewAndCoincidentKnots) {
  std::vector<double> x = {0, 1, 2, 3, 4, 5}, y = {1, 2, 0, 3, 4, 2}, coeff(20, 9.0);
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 6, x.data(), 0, 1, y.data()), 0);
  ASSERT_EQ(EditSpline(t.task, coeff.data(), 4, 2, BC_NOT_A_KNOT), 0);
  t->partition_size = 2;
  EXPECT_EQ(Construct<double>(t.task), DF_STATUS_BAD_PARTITION_SIZE);
  t->partition_size = 1;
  EXPECT_EQ(Construct<double>(t.task), DF_STATUS_BAD_PARTITION_SIZE);
  t->partition_size = 6;
  x = {0, 1, 1, 2, 3, 4};
  ASSERT_EQ(Construct<double>(t.task), 0);
  EXPECT_EQ(coeff[0], 1.0);
}

// Parallel when the function count is not 1, t is not 1, and n >= 600, or n >= 300 with t >= 8;
// the split gives the bits of the serial solve.
TEST(DfNaturalCubic, ThreadingRuleAndSameBits) {
  // Knots, functions, threads, whether parallel.
  const int64_t cases[][4] = {
      {300, 9, 8, 1}, {300, 9, 7, 0}, {299, 9, 8, 0}, {600, 2, 2, 1},
      {599, 4, 4, 0}, {600, 1, 8, 0}, {300, 7, 8, 0},  // t = min(threads, functions) = 7
      {1000, 5, 1, 0}};
  for (const auto& [n, fc, threads, parallel] : cases) {
    std::vector<double> x(n), y(n * fc);
    for (int64_t i = 0; i < n; ++i) x[i] = i + 0.4 * std::sin(1.7 * i);
    for (int64_t i = 0; i < n * fc; ++i) y[i] = std::sin(0.05 * i) + 0.01 * (i % 7);
    for (int64_t f = 0; f < fc; ++f) y[(n - 1) * fc + f] = y[f];  // columns
    for (int64_t bc : {BC_FREE_END, BC_PERIODIC, BC_NOT_A_KNOT}) {
      std::vector<double> serial(4 * (n - 1) * fc), split(serial.size());
      TaskHolder t;
      ASSERT_EQ(NewTask(t, n, x.data(), 0, fc, y.data(), 32), 0);
      ASSERT_EQ(EditSpline(t.task, serial.data(), 4, 2, bc), 0);
      ASSERT_EQ(Construct<double>(t.task), 0);
      ASSERT_EQ(oxl_df_kernel_dEditPtr(t.task, PTR_COEFFICIENTS, split.data()), 0);
      FakeThreads::threads = static_cast<int32_t>(threads);
      const int64_t calls = FakeThreads::calls;
      ASSERT_EQ(Construct<double>(t.task, FakeThreads::Table()), 0);
      FakeThreads::threads = 8;
      EXPECT_EQ(FakeThreads::calls - calls, parallel ? 1 : 0) << n << " " << fc;
      EXPECT_EQ(serial, split) << n << " " << fc << " bc " << bc;
    }
  }
}

// The pivoting solver against the product of the matrix, on systems that need row exchanges (the
// factorisation from both ends serves every natural cubic above), and the zero-pivot and argument
// reports of both.
TEST(DfTridiagonal, SolversAgree) {
  std::mt19937_64 rng(17);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int64_t n : {1, 2, 3, 4, 5, 8, 57}) {
    const int64_t nrhs = 3, ldb = n + 1;
    std::vector<double> dl(n), d(n), du(n), b(ldb * nrhs);
    for (int64_t i = 0; i < n; ++i) {
      dl[i] = 3 * u(rng);  // sub-diagonal often larger than the diagonal
      du[i] = u(rng);
      d[i] = i == 0 && n > 1 ? 0.0 : u(rng);  // row 0 cannot go without an exchange
    }
    for (auto& v : b) v = u(rng);
    std::vector<double> solved = b, dlc = dl, dc = d, duc = du;
    int64_t info = -5;
    ddtsvb_4dfl(&n, &nrhs, dlc.data(), dc.data(), duc.data(), solved.data(), &ldb, &info);
    ASSERT_EQ(info, 0);
    for (int64_t r = 0; r < nrhs; ++r) {
      const double* s = solved.data() + r * ldb;
      for (int64_t i = 0; i < n; ++i) {
        const double row =
            d[i] * s[i] + (i > 0 ? dl[i - 1] * s[i - 1] : 0) + (i + 1 < n ? du[i] * s[i + 1] : 0);
        ASSERT_NEAR(row, b[r * ldb + i], 1e-9) << n;
      }
    }
  }
  // A zero first pivot of the downward sweep, of the upward sweep, and at the meeting row; a zero
  // pivot of the pivoting solver; bad sizes.
  const int64_t five = 5, three = 3, one = 1, two = 2;
  for (int64_t zero : {0, 4}) {
    std::vector<double> dl(4, 1.0), d(5, 3.0), du(4, 1.0);
    d[zero] = 0;
    int64_t info = 0;
    ddttrfb_4dfl(&five, dl.data(), d.data(), du.data(), &info);
    EXPECT_EQ(info, zero + 1);
  }
  double dl[2] = {1, 1}, d[3] = {2, 1, 2}, du[2] = {1, 1}, b[2] = {1, 1};
  int64_t info = 0, bad = -1;
  ddttrfb_4dfl(&three, dl, d, du, &info);
  EXPECT_EQ(info, 2);
  double zl[1] = {0}, zd[2] = {0, 1}, zu[1] = {1};
  ddtsvb_4dfl(&two, &one, zl, zd, zu, b, &two, &info);
  EXPECT_EQ(info, 1);
  ddttrfb_4dfl(&bad, dl, d, du, &info);
  EXPECT_EQ(info, -1);
  ddttrsb_4dfl(&five, &one, dl, d, du, b, &two, &info);
  EXPECT_EQ(info, -7);
  sdtsvb_4dfl(&two, &one, nullptr, nullptr, nullptr, nullptr, &one, &info);
  EXPECT_EQ(info, -7);
}

}  // namespace
