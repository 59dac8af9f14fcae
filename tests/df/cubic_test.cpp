// Natural cubic splines against scipy's CubicSpline (values, derivatives and integrals, every
// boundary pair, uniform and non-uniform grids, rows and columns), the front's statuses, the
// threading rule, the tridiagonal factorisation and the end-slope routines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <vector>

#include "df/cubic.h"
#include "df/df_test_util.h"
#include "support/failing_allocator.h"
#include "support/ref_data.h"

namespace {

using oxl::test::FakeThreads;
using oxl::test::TaskHolder;

struct ScipyCase {
  std::map<int, std::vector<double>> role;  // by role, in index order
  int64_t boundary, n, fc;
  bool uniform;
  double bd[2];
};

std::vector<ScipyCase> LoadCases() {
  const auto table = oxl::test::RefTable::Load(oxl::test::RefTable::TestsPath("df/data/cubic.txt"));
  std::map<int64_t, ScipyCase> cases;
  for (size_t r = 0; r < table.rows(); ++r) {
    cases[table.Int(r, 0)].role[static_cast<int>(table.Int(r, 1))].push_back(
        table.Real<double>(r, 3));
  }
  std::vector<ScipyCase> out;
  for (auto& [id, c] : cases) {
    const auto& p = c.role[6];
    c.boundary = static_cast<int64_t>(p[0]);
    c.uniform = p[1] != 0;
    c.n = static_cast<int64_t>(p[2]);
    c.fc = static_cast<int64_t>(p[3]);
    c.bd[0] = p[4];
    c.bd[1] = p[5];
    out.push_back(c);
  }
  return out;
}

// |got - want| within rel times the largest |want| of the group (norm-wise).
void ExpectClose(const double* got, const double* want, int64_t count, double rel, const char* what,
                 int64_t id) {
  // The data are of unit size: a quantity that vanishes is measured against 1.
  double scale = 1;
  for (int64_t i = 0; i < count; ++i) scale = std::max(scale, std::fabs(want[i]));
  for (int64_t i = 0; i < count; ++i) {
    ASSERT_LE(std::fabs(got[i] - want[i]), rel * scale)
        << what << " case " << id << " element " << i << ": " << got[i] << " vs " << want[i];
  }
}

template <class T>
struct Built {
  TaskHolder t;
  std::vector<T> x, y, coeff, bd;
};

// A task over the case's data in row or column storage, constructed.
template <class T>
int32_t Build(const ScipyCase& c, bool rows, Built<T>& b, const thread_services* services) {
  const auto& knots = c.role.at(0);
  const auto& values = c.role.at(1);
  if (c.uniform) {
    b.x = {static_cast<T>(knots.front()), static_cast<T>(knots.back())};
  } else {
    b.x.assign(knots.begin(), knots.end());
  }
  b.y.resize(values.size());
  for (int64_t f = 0; f < c.fc; ++f) {
    for (int64_t i = 0; i < c.n; ++i) {
      b.y[rows ? f * c.n + i : i * c.fc + f] = static_cast<T>(values[f * c.n + i]);
    }
  }
  b.coeff.assign(4 * (c.n - 1) * c.fc, T(0));
  b.bd = {static_cast<T>(c.bd[0]), static_cast<T>(c.bd[1])};
  int32_t status;
  if constexpr (sizeof(T) == 8) {
    status = oxl_df_kernel_dNewTask1D(&b.t.task, c.n, b.x.data(),
                                      c.uniform ? PARTITION_UNIFORM : PARTITION_NONUNIFORM, c.fc,
                                      b.y.data(), rows ? VALUES_ROWS : VALUES_COLUMNS, 1);
    if (status == 0) {
      status = oxl_df_kernel_dEditPPSpline1D(b.t.task, 4, SPLINE_TYPE_NATURAL, c.boundary,
                                             b.bd.data(), 0, nullptr, b.coeff.data(), 0);
    }
    if (status == 0) status = oxl_df_kernel_dDFNaturalCubicSpline1D(b.t.task, 0, 0, services);
  } else {
    status = oxl_df_kernel_sNewTask1D(&b.t.task, c.n, b.x.data(),
                                      c.uniform ? PARTITION_UNIFORM : PARTITION_NONUNIFORM, c.fc,
                                      b.y.data(), rows ? VALUES_ROWS : VALUES_COLUMNS, 1);
    if (status == 0) {
      status = oxl_df_kernel_sEditPPSpline1D(b.t.task, 4, SPLINE_TYPE_NATURAL, c.boundary,
                                             b.bd.data(), 0, nullptr, b.coeff.data(), 0);
    }
    if (status == 0) status = oxl_df_kernel_sDFNaturalCubicSpline1D(b.t.task, 0, 0, services);
  }
  return status;
}

TEST(DfNaturalCubic, MatchesScipyCubicSpline) {
  const std::vector<ScipyCase> cases = LoadCases();
  ASSERT_EQ(cases.size(), 20u);
  for (size_t id = 0; id < cases.size(); ++id) {
    const ScipyCase& c = cases[id];
    const auto& sites = c.role.at(2);
    const int64_t ns = static_cast<int64_t>(sites.size());
    const auto& left = c.role.at(7);
    const auto& right = c.role.at(8);
    const int64_t np = static_cast<int64_t>(left.size());
    for (bool rows : {true, false}) {
      Built<double> b;
      ASSERT_EQ(Build(c, rows, b, FakeThreads::Table()), 0) << id;
      // Second derivatives agree at every inner knot, from the cell on each side.
      for (int64_t f = 0; f < c.fc; ++f) {
        const double* cf = b.coeff.data() + f * 4 * (c.n - 1);
        double scale = 0;
        for (int64_t i = 0; i + 1 < c.n; ++i) scale = std::max(scale, std::fabs(cf[4 * i + 2]));
        for (int64_t i = 1; i + 1 < c.n; ++i) {
          const double h = c.role.at(0)[i] - c.role.at(0)[i - 1];
          const double from_left = 2 * cf[4 * (i - 1) + 2] + 6 * cf[4 * (i - 1) + 3] * h;
          ASSERT_NEAR(from_left, 2 * cf[4 * i + 2], 1e-12 * scale) << id << " knot " << i;
        }
      }
      const int64_t dorder[3] = {1, 1, 1};
      std::vector<double> r(ns * 3 * c.fc);
      ASSERT_EQ(oxl_df_kernel_dDFInterpolate1D(b.t.task, 0, 0, ns, sites.data(), 0, 3, dorder,
                                               nullptr, r.data(), INTERP_RESULTS_BY_DERIVATIVE,
                                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nullptr, nullptr, nullptr),
                0);
      for (int64_t f = 0; f < c.fc; ++f) {
        for (int k = 0; k < 3; ++k) {
          ExpectClose(r.data() + (f * 3 + k) * ns, c.role.at(3 + k).data() + f * ns, ns, 1e-12,
                      k == 0   ? "value"
                      : k == 1 ? "first derivative"
                               : "second derivative",
                      static_cast<int64_t>(id));
        }
      }
      std::vector<double> integrals(np * c.fc);
      ASSERT_EQ(
          oxl_df_kernel_dDFIntegrate1D(b.t.task, 0, np, left.data(), 0, right.data(), 0, nullptr,
                                       nullptr, integrals.data(), 0, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
          0);
      for (int64_t f = 0; f < c.fc; ++f) {
        EXPECT_EQ(integrals[f * np], 0.0);  // an empty range
        ExpectClose(integrals.data() + f * np, c.role.at(9).data() + f * np, np, 1e-12, "integral",
                    static_cast<int64_t>(id));
      }
    }
  }
}

// The single twin against the double one on the same (float) data.
TEST(DfNaturalCubic, SingleTwinFollowsDouble) {
  for (ScipyCase c : LoadCases()) {
    for (int role : {0, 1, 2}) {
      for (double& v : c.role[role]) v = static_cast<float>(v);
    }
    c.bd[0] = static_cast<float>(c.bd[0]);
    c.bd[1] = static_cast<float>(c.bd[1]);
    Built<float> bs;
    Built<double> bd;
    ASSERT_EQ(Build(c, true, bs, nullptr), 0);
    ASSERT_EQ(Build(c, true, bd, nullptr), 0);
    const auto& sites = c.role.at(2);
    std::vector<float> s(sites.begin(), sites.end());
    const int64_t ns = static_cast<int64_t>(s.size());
    std::vector<float> r(ns * c.fc);
    std::vector<double> want(ns * c.fc);
    ASSERT_EQ(oxl_df_kernel_sDFInterpolate1D(bs.t.task, 0, 0, ns, s.data(), 0, 0, nullptr, nullptr,
                                             r.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              0);
    ASSERT_EQ(
        oxl_df_kernel_dDFInterpolate1D(bd.t.task, 0, 0, ns, sites.data(), 0, 0, nullptr, nullptr,
                                       want.data(), 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr, nullptr),
        0);
    // Inside the partition: far out, the end cubics magnify every rounding.
    std::vector<double> got, inside;
    for (int64_t i = 0; i < ns * c.fc; ++i) {
      const double v = sites[i % ns];
      if (v < c.role.at(0).front() || v > c.role.at(0).back()) continue;
      got.push_back(r[i]);
      inside.push_back(want[i]);
    }
    ExpectClose(got.data(), inside.data(), static_cast<int64_t>(got.size()), 1e-5, "float value",
                c.n);
  }
}

// A cubic polynomial is its own spline under not-a-knot, clamped with its slopes, second
// derivatives at the ends, and on a uniform grid as well.
TEST(DfNaturalCubic, ReproducesCubics) {
  const auto p = [](double v) { return ((0.3 * v - 0.5) * v + 2.0) * v - 1.0; };
  const auto dp = [](double v) { return (0.9 * v - 1.0) * v + 2.0; };
  const auto d2p = [](double v) { return 1.8 * v - 1.0; };
  const int64_t n = 9;
  std::vector<double> x(n), y(n);
  for (int64_t i = 0; i < n; ++i) x[i] = -2.0 + 0.5 * i;
  for (int64_t i = 0; i < n; ++i) y[i] = p(x[i]);
  struct Case {
    int64_t bc;
    double ends[2];
  };
  const Case cases[] = {{BC_NOT_A_KNOT, {0, 0}},
                        {BC_LEFT_FIRST | BC_RIGHT_FIRST, {dp(x[0]), dp(x[n - 1])}},
                        {BC_LEFT_SECOND | BC_RIGHT_SECOND, {d2p(x[0]), d2p(x[n - 1])}},
                        {BC_LEFT_FIRST | BC_RIGHT_SECOND, {dp(x[0]), d2p(x[n - 1])}},
                        {BC_LEFT_SECOND | BC_RIGHT_FIRST, {d2p(x[0]), dp(x[n - 1])}}};
  for (const Case& c : cases) {
    for (bool uniform : {false, true}) {
      const double ends[2] = {x[0], x[n - 1]};
      std::vector<double> coeff(4 * (n - 1));
      TaskHolder t;
      ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, uniform ? ends : x.data(),
                                         uniform ? PARTITION_UNIFORM : 0, 1, y.data(), 0, 0),
                0);
      ASSERT_EQ(
          oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, c.bc, c.ends, 0, nullptr, coeff.data(), 0),
          0);
      ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr), 0);
      for (int64_t i = 0; i + 1 < n; ++i) {
        ASSERT_NEAR(coeff[4 * i + 1], dp(x[i]), 1e-13) << c.bc << " " << i;
        ASSERT_NEAR(coeff[4 * i + 2], d2p(x[i]) / 2, 1e-13) << c.bc << " " << i;
        ASSERT_NEAR(coeff[4 * i + 3], 0.3, 1e-13) << c.bc << " " << i;
      }
    }
  }
}

TEST(DfNaturalCubic, FrontStatuses) {
  const int64_t n = 6;
  std::vector<double> x = {0, 1, 2, 3, 4, 5}, y = {1, 2, 0, 3, 4, 2}, coeff(4 * (n - 1), 9.0);
  const double bd[2] = {0.5, 0.5};
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, 1, y.data(), 0, 0), 0);
  struct Case {
    int64_t type, bc;
    const double* data;
    int32_t status;
  };
  const Case cases[] = {
      {2, BC_NOT_SET, bd, DF_STATUS_BAD_BOUNDARY_TYPE},
      {2, BC_NOT_A_KNOT | BC_FREE_END, bd, DF_STATUS_BAD_BOUNDARY_TYPE},
      {2, BC_LEFT_FIRST, bd, DF_STATUS_BAD_BOUNDARY_TYPE},
      {2, BC_QUADRATIC_VALUE, bd, DF_STATUS_BAD_BOUNDARY_TYPE},
      {2, BC_LEFT_FIRST | BC_RIGHT_SECOND, nullptr, DF_STATUS_NO_BOUNDARY},
      {0, BC_PERIODIC, nullptr, DF_STATUS_NO_BOUNDARY},
      {3, BC_PERIODIC, nullptr, DF_STATUS_NO_BOUNDARY},
      {2, BC_PERIODIC, nullptr, DF_STATUS_PERIODIC_MISMATCH},  // y[0] != y[n-1]
      {2, BC_FREE_END, nullptr, 0},
  };
  ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, BC_FREE_END, nullptr, 0, nullptr,
                                          coeff.data(), 0),
            0);
  for (const Case& c : cases) {
    t->spline_type = c.type;
    t->boundary_type = c.bc;
    t->boundary_data = const_cast<double*>(c.data);
    std::fill(coeff.begin(), coeff.end(), 9.0);
    EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr), c.status) << c.bc;
    if (c.status != 0) {
      EXPECT_EQ(coeff[0], 9.0) << "coefficients touched, bc " << c.bc;
    }
  }
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 1, nullptr), DF_STATUS_BAD_METHOD);
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(nullptr, 0, 0, nullptr), DF_STATUS_NO_TASK);
  t->values_hint = 8;
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr),
            DF_STATUS_BAD_VALUES_HINT);
  t->values_hint = 0;
  // Two knots: free end is the secant; not-a-knot has no room.
  t->partition_size = 2;
  t->boundary_type = BC_NOT_A_KNOT;
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr),
            DF_STATUS_BAD_PARTITION_SIZE);
  t->boundary_type = BC_FREE_END;
  ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr), 0);
  EXPECT_EQ(coeff[0], 1.0);
  EXPECT_EQ(coeff[1], 1.0);  // y[1] - y[0] over one
  EXPECT_EQ(coeff[2], 0.0);
  EXPECT_EQ(coeff[3], 0.0);
  t->partition_size = 1;
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr),
            DF_STATUS_BAD_PARTITION_SIZE);
  // Coincident knots give not-a-knot a zero first pivot: the pivoting solver takes over and the
  // call completes (the spline of such data is not defined; under the sanitizers this path is
  // checked for its memory).
  t->partition_size = n;
  t->boundary_type = BC_NOT_A_KNOT;
  x = {0, 1, 1, 2, 3, 4};
  ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr), 0);
  EXPECT_EQ(coeff[0], 1.0);
}

// Workspace: one allocation, given back on every way out; a failure leaves the coefficients.
TEST(DfNaturalCubic, OneWorkspaceGivenBack) {
  const int64_t n = 40, fc = 3;
  std::vector<double> x(n), y(n * fc), coeff(4 * (n - 1) * fc, 5.0);
  for (int64_t i = 0; i < n; ++i) x[i] = i * 0.25 + 0.01 * (i % 3);
  for (int64_t i = 0; i < n * fc; ++i) y[i] = std::cos(0.3 * i);
  for (int64_t f = 0; f < fc; ++f) y[f * n + n - 1] = y[f * n];
  TaskHolder t;
  ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, n, x.data(), 0, fc, y.data(), 0, 0), 0);
  for (int64_t bc : {BC_NOT_A_KNOT, BC_PERIODIC}) {
    ASSERT_EQ(oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, bc, nullptr, 0, nullptr, coeff.data(), 0),
              0);
    const int64_t allocations = oxl::test::ForEachAllocationFailure(
        [&] {
          std::fill(coeff.begin(), coeff.end(), 5.0);
          return oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr);
        },
        [&](int32_t status, bool failed) {
          EXPECT_EQ(status, failed ? DF_STATUS_NO_MEMORY : 0);
          if (failed) {
            EXPECT_EQ(coeff[0], 5.0);
          }
        });
    EXPECT_EQ(allocations, 1);
  }
}

// Parallel when the function count is not 1, t is not 1, and n >= 600, or n >= 300 with t >= 8;
// the split gives the bits of the serial solve.
TEST(DfNaturalCubic, ThreadingRuleAndSameBits) {
  struct Case {
    int64_t n, fc;
    int32_t threads;
    bool parallel;
  };
  const Case cases[] = {{300, 9, 8, true},  {300, 9, 7, false}, {299, 9, 8, false},
                        {600, 2, 2, true},  {599, 4, 4, false}, {600, 1, 8, false},
                        {300, 7, 8, false},  // t = min(threads, functions) = 7
                        {1000, 5, 1, false}};
  for (const Case& c : cases) {
    std::vector<double> x(c.n), y(c.n * c.fc);
    for (int64_t i = 0; i < c.n; ++i) x[i] = i + 0.4 * std::sin(1.7 * i);
    for (int64_t i = 0; i < c.n * c.fc; ++i) y[i] = std::sin(0.05 * i) + 0.01 * (i % 7);
    for (int64_t f = 0; f < c.fc; ++f) y[(c.n - 1) * c.fc + f] = y[f];  // columns
    for (int64_t bc : {BC_FREE_END, BC_PERIODIC, BC_NOT_A_KNOT}) {
      std::vector<double> serial(4 * (c.n - 1) * c.fc), split(serial.size());
      TaskHolder t;
      ASSERT_EQ(oxl_df_kernel_dNewTask1D(&t.task, c.n, x.data(), 0, c.fc, y.data(), 32, 0), 0);
      ASSERT_EQ(
          oxl_df_kernel_dEditPPSpline1D(t.task, 4, 2, bc, nullptr, 0, nullptr, serial.data(), 0),
          0);
      ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, nullptr), 0);
      ASSERT_EQ(oxl_df_kernel_dEditPtr(t.task, PTR_COEFFICIENTS, split.data()), 0);
      FakeThreads::threads = c.threads;
      const int64_t calls = FakeThreads::calls;
      ASSERT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(t.task, 0, 0, FakeThreads::Table()), 0);
      FakeThreads::threads = 8;
      EXPECT_EQ(FakeThreads::calls - calls, c.parallel ? 1 : 0) << c.n << " " << c.fc;
      EXPECT_EQ(serial, split) << c.n << " " << c.fc << " bc " << bc;
    }
  }
}

// The factorisation from both ends against the pivoting solver, and its zero-pivot report.
TEST(DfTridiagonal, FactorsFromBothEnds) {
  std::mt19937_64 rng(17);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int64_t n : {1, 2, 3, 4, 5, 8, 101}) {
    const int64_t nrhs = 3, ldb = n + 1;
    std::vector<double> dl(n), d(n), du(n), b(ldb * nrhs);
    for (int64_t i = 0; i < n; ++i) {
      dl[i] = u(rng);
      du[i] = u(rng);
      d[i] = 2.5 + u(rng);
    }
    for (auto& v : b) v = u(rng);
    std::vector<double> dl2 = dl, d2 = d, du2 = du, b2 = b;
    int64_t info = -5;
    ddttrfb_4dfl(&n, dl.data(), d.data(), du.data(), &info);
    ASSERT_EQ(info, 0);
    ddttrsb_4dfl(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &ldb, &info);
    ASSERT_EQ(info, 0);
    ddtsvb_4dfl(&n, &nrhs, dl2.data(), d2.data(), du2.data(), b2.data(), &ldb, &info);
    for (int64_t r = 0; r < nrhs; ++r) {
      for (int64_t i = 0; i < n; ++i) ASSERT_NEAR(b[r * ldb + i], b2[r * ldb + i], 1e-14) << n;
    }
    std::vector<float> fl(dl.size(), 0.25f), fd(n, 2.0f), fu(du.size(), 0.5f), fb(n, 1.0f);
    const int64_t one = 1;
    sdttrfb_4dfl(&n, fl.data(), fd.data(), fu.data(), &info);
    ASSERT_EQ(info, 0);
    sdttrsb_4dfl(&n, &one, fl.data(), fd.data(), fu.data(), fb.data(), &n, &info);
    for (int64_t i = 0; i < n; ++i) {
      const float row =
          2.0f * fb[i] + (i > 0 ? 0.25f * fb[i - 1] : 0) + (i + 1 < n ? 0.5f * fb[i + 1] : 0);
      ASSERT_NEAR(row, 1.0f, 1e-6f);
    }
  }
  // A zero first pivot of the downward sweep, of the upward sweep, and at the meeting row.
  const int64_t n = 5;
  for (int64_t zero : {0, 4}) {
    std::vector<double> dl(4, 1.0), d(5, 3.0), du(4, 1.0);
    d[zero] = 0;
    int64_t info = 0;
    ddttrfb_4dfl(&n, dl.data(), d.data(), du.data(), &info);
    EXPECT_EQ(info, zero + 1);
  }
  {
    const int64_t three = 3;
    double dl[2] = {1, 1}, d[3] = {2, 1, 2}, du[2] = {1, 1};
    int64_t info = 0;
    ddttrfb_4dfl(&three, dl, d, du, &info);
    EXPECT_EQ(info, 2);
  }
  int64_t info = 0, bad = -1, nrhs = 1, small_ldb = 2;
  double v = 0;
  ddttrfb_4dfl(&bad, &v, &v, &v, &info);
  EXPECT_EQ(info, -1);
  ddttrsb_4dfl(&n, &nrhs, &v, &v, &v, &v, &small_ldb, &info);
  EXPECT_EQ(info, -7);
}

// The end-slope routines for the local cubics: each end cell then meets its condition.
TEST(DfCubicEnds, EndSlopesMeetTheirConditions) {
  using oxl::df::_vCubicSpline1DLeftBCDispatch;
  using oxl::df::_vCubicSpline1DRightBCDispatch;
  const int64_t n = 6;
  const double x[n] = {0.0, 0.5, 1.25, 2.0, 2.5, 3.5};
  const double y[n] = {1.0, -0.5, 0.75, 2.0, 1.0, 1.0};
  double h[n - 1], s[n - 1];
  for (int64_t i = 0; i + 1 < n; ++i) {
    h[i] = x[i + 1] - x[i];
    s[i] = (y[i + 1] - y[i]) / h[i];
  }
  const double inner[n] = {0, 0.3, -1.1, 0.4, 0.9, 0};
  const double bd[2] = {0.6, -2.5};
  // Second derivative of the Hermite cubic of cell i at its left (t = 0) or right end.
  const auto second = [&](const double* d, int64_t i, bool at_right) {
    double c[4];
    oxl::df::HermiteCell<double>(c, y[i], d[i], d[i + 1], s[i], 1 / h[i]);
    return at_right ? 2 * c[2] + 6 * c[3] * h[i] : 2 * c[2];
  };
  const auto third = [&](const double* d, int64_t i) {
    double c[4];
    oxl::df::HermiteCell<double>(c, y[i], d[i], d[i + 1], s[i], 1 / h[i]);
    return 6 * c[3];
  };
  for (int slot = 0; slot < 8; ++slot) {
    double d[n];
    std::copy(inner, inner + n, d);
    _vCubicSpline1DLeftBCDispatch<double, false>[slot](d, s, h, n, bd);
    _vCubicSpline1DRightBCDispatch<double, false>[slot](d, s, h, n, bd);
    const bool left_first = slot == 2 || slot == 3, right_first = slot == 2 || slot == 4;
    const bool left_second = slot == 4 || slot == 5, right_second = slot == 3 || slot == 5;
    if (slot == 0) {
      EXPECT_NEAR(third(d, 0), third(d, 1), 1e-12);
      EXPECT_NEAR(third(d, n - 2), third(d, n - 3), 1e-12);
    }
    if (slot == 1) {
      EXPECT_NEAR(second(d, 0, false), 0.0, 1e-13);
      EXPECT_NEAR(second(d, n - 2, true), 0.0, 1e-13);
    }
    if (left_first) {
      EXPECT_EQ(d[0], bd[0]);
    }
    if (right_first) {
      EXPECT_EQ(d[n - 1], bd[1]);
    }
    if (left_second) {
      EXPECT_NEAR(second(d, 0, false), bd[0], 1e-13) << slot;
    }
    if (right_second) {
      EXPECT_NEAR(second(d, n - 2, true), bd[1], 1e-13) << slot;
    }
    if (slot == 6) {
      EXPECT_EQ(d[0], d[n - 1]);
      EXPECT_NEAR(d[0], (h[n - 2] * s[0] + h[0] * s[n - 2]) / (h[0] + h[n - 2]), 1e-15);
    }
    if (slot == 7) {
      EXPECT_EQ(d[0], (3 * s[0] - s[1]) / 2);
      EXPECT_EQ(d[n - 1], (3 * s[n - 2] - s[n - 3]) / 2);
    }
    for (int64_t i = 1; i + 1 < n; ++i) EXPECT_EQ(d[i], inner[i]);
  }
  // The uniform forms read the one step.
  const double step = 0.5;
  const double su[n - 1] = {1.0, -2.0, 0.5, 0.25, 3.0};
  double du[n] = {0, 1, 1, 1, 1, 0}, dn[n] = {0, 1, 1, 1, 1, 0};
  const double widths[n - 1] = {step, step, step, step, step};
  for (int slot = 0; slot < 8; ++slot) {
    _vCubicSpline1DLeftBCDispatch<double, true>[slot](du, su, &step, n, bd);
    _vCubicSpline1DRightBCDispatch<double, true>[slot](du, su, &step, n, bd);
    _vCubicSpline1DLeftBCDispatch<double, false>[slot](dn, su, widths, n, bd);
    _vCubicSpline1DRightBCDispatch<double, false>[slot](dn, su, widths, n, bd);
    EXPECT_EQ(du[0], dn[0]) << slot;
    EXPECT_EQ(du[n - 1], dn[n - 1]) << slot;
  }
}

}  // namespace
