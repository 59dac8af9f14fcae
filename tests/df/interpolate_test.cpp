// Interpolation: against scipy/numpy reference data, against direct evaluation of the cell
// polynomials in every layout, callbacks, look-up and step kinds, the parallel path.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <vector>

#include "df/df_test_util.h"
#include "support/failing_allocator.h"
#include "support/ref_data.h"

namespace {

using namespace oxl::test;

// The linear, standard quadratic and two Subbotin cases of tests/df/data/splines.txt (made by
// make_df_data.py): roles 0 knots, 1 values, 2 sites, 3-5 value and derivatives, 6 conditions.
TEST(DfInterpolate, AgreesWithScipyAndNumpy) {
  const RefTable table = RefTable::Load(RefTable::TestsPath("df/data/splines.txt"));
  std::map<int, std::map<int, std::vector<double>>> ref;
  for (size_t r = 0; r < table.rows(); ++r) {
    ref[static_cast<int>(table.Int(r, 0))][static_cast<int>(table.Int(r, 1))].push_back(
        table.Real<double>(r, 3));
  }
  ASSERT_EQ(ref.size(), 4u);
  struct Case {
    int64_t order, type, bc;
  };
  const Case cases[4] = {{2, 0, 0},
                         {3, 0, BC_QUADRATIC_VALUE},
                         {3, 1, BC_LEFT_FIRST | BC_RIGHT_FIRST},
                         {3, 1, BC_LEFT_SECOND | BC_RIGHT_SECOND}};
  for (int c = 0; c < 4; ++c) {
    auto& r = ref[c];
    const std::vector<double>&x = r[0], &sites = r[2];
    const int64_t n = static_cast<int64_t>(x.size()), ns = static_cast<int64_t>(sites.size());
    TaskHolder t;
    ASSERT_EQ(NewTask(t, n, x.data(), 0, 1, r[1].data()), 0);
    std::vector<double> coeff(3 * n);
    const bool sub = cases[c].type == 1;
    ASSERT_EQ(EditSpline(t.task, coeff.data(), cases[c].order, cases[c].type, cases[c].bc,
                         r[6].data(), sub ? IC_SUBGRID : 0, sub ? r[6].data() + 2 : nullptr),
              0);
    ASSERT_EQ(Construct<double>(t.task), 0);
    const int derivs = c == 0 ? 1 : 3;
    const int32_t dorder[3] = {1, 1, 1};
    std::vector<double> out(ns * derivs);
    ASSERT_EQ(Interpolate(t.task, ns, sites.data(), derivs, dorder, out.data()), 0);
    for (int64_t i = 0; i < ns; ++i) {
      for (int d = 0; d < derivs; ++d) {
        const double want = r[3 + d][i];
        ASSERT_NEAR(out[i * derivs + d], want, 1e-9 * (1 + std::fabs(want)))
            << "case " << c << " site " << sites[i] << " derivative " << d;
      }
    }
  }
}

// A cubic with arbitrary coefficients, two functions on 40 knots, against direct evaluation of
// the cell polynomials (sites outside follow the end polynomials).
struct CubicFixture : RandomSpline {
  CubicFixture() : RandomSpline(kCubic, false, 4, 40) {}
  double Direct(int64_t f, double s, int d) const {
    return static_cast<double>(Piece(f, std::clamp<int64_t>(BruteCell(x, s) - 1, 0, n - 2), s, d));
  }
};

TEST(DfInterpolate, CubicLayoutsAndDerivatives) {
  CubicFixture fx;
  const int64_t fc = fx.fc;
  std::vector<double> sites;
  for (int i = 0; i < 600; ++i) sites.push_back(-1.0 + 0.025 * i);
  const int64_t ns = static_cast<int64_t>(sites.size());
  const std::vector<std::vector<int64_t>> orders = {
      {}, {0, 0}, {1, 0, 1}, {0, 1, 1, 1}, {1, 1, 1, 1, 1}};
  for (const auto& dorder : orders) {
    std::vector<int> which;
    for (size_t j = 0; j < dorder.size(); ++j) {
      if (dorder[j] != 0) which.push_back(static_cast<int>(j));
    }
    if (which.empty()) which.push_back(0);
    const int64_t nr = static_cast<int64_t>(which.size()), nd = std::ssize(dorder);
    for (int64_t hint : {0, 16, 32, 128, 256, 512}) {
      std::vector<double> out(ns * nr * fc, -1.0);
      ASSERT_EQ(Interpolate(fx.t.task, ns, sites.data(), nd, dorder.data(), out.data(), hint), 0);
      for (int64_t f = 0; f < fc; ++f) {
        for (int64_t i = 0; i < ns; ++i) {
          for (int64_t k = 0; k < nr; ++k) {
            const int64_t at = hint == 32    ? (f * nr + k) * ns + i
                               : hint == 256 ? (i * fc + f) * nr + k
                               : hint == 512 ? (i * nr + k) * fc + f
                                             : (f * ns + i) * nr + k;
            const int d = which[k];
            const double want = fx.Direct(f, sites[i], d);
            ASSERT_NEAR(out[at], want, 1e-12 * (1 + std::fabs(want)))
                << "hint " << hint << " f " << f << " site " << sites[i] << " d " << d;
          }
        }
      }
    }
  }
  std::vector<double> out(10);
  const int64_t one[1] = {1};
  EXPECT_EQ(Interpolate(fx.t.task, 1, sites.data(), 1, one, out.data(), 64),
            DF_STATUS_BAD_INTERPOLATE_RESULT_HINT);
  fx.t->spline_type = 1;
  EXPECT_EQ(Interpolate(fx.t.task, 1, sites.data(), 1, one, out.data(), 16), DF_STATUS_BAD_TYPE);
}

// Threads: the parallel path above 4096 sites gives the same bits as the serial one, in a
// staged layout too; cells come back when asked for; given cells skip the search.
TEST(DfInterpolate, ParallelCellsAndGivenCells) {
  CubicFixture fx;
  const int64_t dorder[2] = {1, 1};
  for (int64_t ns : {4096, 4097, 9000}) {
    std::vector<double> sites(ns);
    for (int64_t i = 0; i < ns; ++i) sites[i] = -0.5 + 13.0 * std::pow(std::sin(0.01 * i), 2);
    for (int64_t hint : {16, 512}) {
      std::vector<double> serial(ns * 2 * 2), split(ns * 2 * 2);
      std::vector<int64_t> cells(ns, -1), given(ns, 0);
      ASSERT_EQ(Interpolate(fx.t.task, ns, sites.data(), 2, dorder, serial.data(), hint, nullptr, 0,
                            INTERP_CELLS_WANTED, cells.data()),
                0);
      for (int64_t i = 0; i < ns; ++i) ASSERT_EQ(cells[i], BruteCell(fx.x, sites[i]));
      const int64_t calls = FakeThreads::calls;
      ASSERT_EQ(Interpolate(fx.t.task, ns, sites.data(), 2, dorder, split.data(), hint,
                            FakeThreads::Table()),
                0);
      EXPECT_EQ(FakeThreads::calls - calls, ns > 4096 ? 1 : 0);
      EXPECT_EQ(split, serial);
      // Given cells: cell 0 for every site evaluates the first polynomial.
      ASSERT_EQ(Interpolate(fx.t.task, ns, sites.data(), 2, dorder, split.data(), 16, nullptr, 0,
                            INTERP_CELLS_GIVEN, given.data()),
                0);
      EXPECT_NEAR(split[7 * 2], static_cast<double>(fx.Piece(0, 0, sites[7], 0)), 1e-10);
    }
  }
}

// Callbacks by group: the left callback sees only the sites left of the partition, the right
// one only those right of it; inner sites without a callback use the polynomials.
struct Seen {
  std::vector<double> sites;
  std::vector<int64_t> cells;
};
int32_t Record(int64_t* n, int64_t* cells, double* sites, double* results, void* params, void*) {
  auto* seen = static_cast<Seen*>(params);
  for (int64_t i = 0; i < *n; ++i) {
    seen->sites.push_back(sites[i]);
    seen->cells.push_back(cells[i]);
    results[i] = 1000.0 + sites[i];       // function 0
    results[*n + i] = 2000.0 + sites[i];  // function 1
  }
  return 0;
}
int32_t Fail(int64_t*, int64_t*, double*, double*, void*, void*) { return -77; }

TEST(DfInterpolate, CallbacksByGroup) {
  CubicFixture fx;
  std::vector<double> sites = {-2.0, 1.0, 100.0, -1.5, 2.5, 200.0};
  const int64_t ns = static_cast<int64_t>(sites.size());
  std::vector<double> out(ns * 2);
  Seen left, right;
  const int64_t dorder[1] = {1};
  const auto call = [&](oxl_df_dinterp_callback side, oxl_df_dinterp_callback inner) {
    return oxl_df_kernel_dDFInterpolate1D(fx.t.task, 0, 0, ns, sites.data(), 0, 1, dorder, nullptr,
                                          out.data(), 16, nullptr, side, &left, side, &right, inner,
                                          nullptr, nullptr, nullptr, nullptr);
  };
  ASSERT_EQ(call(&Record, nullptr), 0);
  EXPECT_EQ(left.sites, (std::vector<double>{-2.0, -1.5}));
  EXPECT_EQ(left.cells, (std::vector<int64_t>{0, 0}));
  EXPECT_EQ(right.sites, (std::vector<double>{100.0, 200.0}));
  EXPECT_EQ(right.cells, (std::vector<int64_t>{40, 40}));
  EXPECT_EQ(out[0], 998.0);
  EXPECT_EQ(out[ns + 3], 1998.5);
  EXPECT_EQ(out[5], 1200.0);
  EXPECT_NEAR(out[1], fx.Direct(0, 1.0, 0), 1e-12);
  EXPECT_NEAR(out[ns + 4], fx.Direct(1, 2.5, 0), 1e-12);
  EXPECT_EQ(call(nullptr, &Fail), -77);
}

int32_t Ones(int64_t* n, int64_t*, double*, double* results, void* params, void*) {
  std::fill(results, results + *n * *static_cast<int64_t*>(params) * 3, 1.0);
  return 0;
}
int32_t OnesIntegral(int64_t* n, const double* lower, const double* upper, double* results,
                     void* params, void*) {
  const int64_t fc = *static_cast<int64_t*>(params);
  for (int64_t j = 0; j < *n * fc; ++j) results[j] = upper[j % *n] - lower[j % *n];
  return 0;
}

// Every allocation of every data fitting entry fails in turn: the status is -1001, nothing stays
// allocated, and where the entry takes its memory before it writes (all but interpolation with
// callbacks, whose blocks are cleared before their buffers come) the caller's arrays are as they
// were.
TEST(DfEntries, EveryAllocationFailsOnceCleanly) {
  CubicFixture fx;
  int64_t fc = fx.fc;
  const int64_t many = 5000, nsite = 300;
  const double ends[2] = {-1.0, 12.0};
  std::vector<double> sites(nsite), results(many * fc * 3, -3.0), coeff(fx.coeff.size(), -3.0);
  for (int64_t i = 0; i < nsite; ++i) sites[i] = -2.0 + 0.05 * static_cast<double>(i);
  std::vector<int64_t> cells(many, -3);
  const int64_t dorder[3] = {1, 1, 1};
  // A natural spline and a Subbotin quadratic, built into their own coefficient arrays.
  TaskHolder natural, subbotin;
  ASSERT_EQ(NewTask(natural, fx.n, fx.x.data(), 0, fc, fx.y.data(), 0, 1), 0);
  ASSERT_EQ(EditSpline(natural.task, coeff.data(), 4, 0, BC_FREE_END), 0);
  std::vector<double> walls(fx.n - 1), quadratic(3 * fx.n * fc, -3.0);
  for (int64_t i = 0; i + 1 < fx.n; ++i) walls[i] = (fx.x[i] + fx.x[i + 1]) / 2;
  const double bc[2] = {0.0, 1.0};
  ASSERT_EQ(NewTask(subbotin, fx.n, fx.x.data(), 0, fc, fx.y.data(), 0, 1), 0);
  ASSERT_EQ(EditSpline(subbotin.task, quadratic.data(), 3, SPLINE_TYPE_SUBBOTIN,
                       BC_LEFT_FIRST | BC_RIGHT_FIRST, bc, IC_SUBGRID, walls.data()),
            0);
  const auto bytes = [](const auto& v) {
    return std::pair<const void*, std::size_t>(v.data(), v.size() * sizeof(v[0]));
  };
  const int32_t no_memory = DF_STATUS_NO_MEMORY;
  const std::vector<FailureSweepRow> rows = {
      {"natural cubic", [&] { return Construct<double>(natural.task); }, no_memory, {bytes(coeff)}},
      {"Subbotin quadratic",
       [&] { return Construct<double>(subbotin.task); },
       no_memory,
       {bytes(quadratic)}},
      {"search, uniform sites",
       [&] { return Search(fx.t.task, many, ends, cells.data(), SITES_UNIFORM); },
       no_memory,
       {bytes(cells)}},
      {"interpolate, uniform sites, staged by site on eight threads",
       [&] {
         return Interpolate(fx.t.task, many, ends, 2, dorder, results.data(),
                            INTERP_RESULTS_BY_SITE, FakeThreads::Table(), SITES_UNIFORM);
       },
       no_memory,
       {bytes(results)}},
      {"interpolate with callbacks",
       [&] {
         return oxl_df_kernel_dDFInterpolate1D(fx.t.task, 0, 0, nsite, sites.data(), 0, 3, dorder,
                                               nullptr, results.data(), 0, nullptr, &Ones, &fc,
                                               &Ones, &fc, &Ones, &fc, nullptr, nullptr, nullptr);
       },
       no_memory,
       {}},
      {"integrate, uniform limits",
       [&] {
         return Integrate(fx.t.task, 700, ends, ends, results.data(), 0, nullptr, SITES_UNIFORM,
                          SITES_UNIFORM);
       },
       no_memory,
       {bytes(results)}},
      {"integrate with callbacks",
       [&] {
         // The pairs (s[j], s[j + 1]): one fewer than the sites.
         return oxl_df_kernel_dDFIntegrate1D(fx.t.task, 0, nsite - 1, sites.data(), 0,
                                             sites.data() + 1, 0, nullptr, nullptr, results.data(),
                                             0, &OnesIntegral, &fc, &OnesIntegral, &fc,
                                             &OnesIntegral, &fc, nullptr, nullptr, nullptr);
       },
       no_memory,
       {bytes(results)}},
  };
  const std::vector<int64_t> counts = SweepAllocationFailures(rows);
  for (size_t r = 0; r < rows.size(); ++r) EXPECT_GE(counts[r], 1) << rows[r].what;
}

TEST(DfInterpolate, StepAndLookUpKinds) {
  const double x[4] = {0.0, 1.0, 2.0, 3.0}, y[4] = {10, 11, 12, 13};
  TaskHolder t;
  ASSERT_EQ(NewTask(t, 4, x, 0, 1, y), 0);
  const double sites[7] = {-1.0, 0.0, 0.5, 1.0, 2.9, 3.0, 4.0};
  const int32_t d1[2] = {1, 1}, d01[2] = {0, 1};
  std::vector<double> out(7), two(14, -1.0);
  ASSERT_EQ(EditSpline<double>(t.task, nullptr, 0, SPLINE_TYPE_STEP_RIGHT), 0);
  ASSERT_EQ(Interpolate(t.task, 7, sites, 1, d1, out.data()), 0);
  EXPECT_EQ(out, (std::vector<double>{10, 10, 10, 11, 12, 13, 13}));
  ASSERT_EQ(EditSpline<double>(t.task, nullptr, 0, SPLINE_TYPE_STEP_LEFT), 0);
  ASSERT_EQ(Interpolate(t.task, 7, sites, 1, d1, out.data()), 0);
  EXPECT_EQ(out, (std::vector<double>{10, 10, 11, 11, 13, 13, 13}));
  ASSERT_EQ(Interpolate(t.task, 7, sites, 2, d1, two.data()), 0);
  EXPECT_EQ(two[3], 0.0);  // a derivative request leaves the slot zero

  ASSERT_EQ(EditSpline<double>(t.task, nullptr, 0, SPLINE_TYPE_LOOKUP), 0);
  const double knots[4] = {0.0, 2.0, 3.0, 1.0}, off[2] = {1.0, 1.5}, left[1] = {-1.0};
  ASSERT_EQ(Interpolate(t.task, 4, knots, 1, d1, out.data()), 0);
  EXPECT_EQ(std::vector<double>(out.begin(), out.begin() + 4),
            (std::vector<double>{10, 12, 13, 11}));
  EXPECT_EQ(Interpolate(t.task, 2, off, 1, d1, out.data()), DF_STATUS_LOOKUP_SITE);
  EXPECT_EQ(Interpolate(t.task, 1, left, 1, d1, out.data()), DF_STATUS_LOOKUP_SITE);
  EXPECT_EQ(Interpolate(t.task, 1, off, 2, d1, two.data()), DF_STATUS_LOOKUP_ORDER);
  EXPECT_EQ(Interpolate(t.task, 1, off, 2, d01, out.data()), DF_STATUS_LOOKUP_DERIVATIVE);
}

// A linear spline on a uniform partition at uniform sites, in double and in single precision.
template <class T>
std::vector<T> UniformLinear(const std::vector<double>& values) {
  const int64_t n = std::ssize(values);
  const std::vector<T> y(values.begin(), values.end()), ends = {-1, 1};
  std::vector<T> coeff(2 * (n - 1)), out(2 * n - 1);
  TaskHolder t;
  const int32_t one[1] = {1};
  EXPECT_EQ(NewTask(t, n, ends.data(), PARTITION_UNIFORM, 1, y.data()), 0);
  EXPECT_EQ(EditSpline(t.task, coeff.data(), 2, 0), 0);
  EXPECT_EQ(Construct<T>(t.task), 0);
  EXPECT_EQ(
      Interpolate(t.task, 2 * n - 1, ends.data(), 1, one, out.data(), 0, nullptr, SITES_UNIFORM),
      0);
  return out;
}

TEST(DfInterpolate, UniformPartitionAndSites) {
  std::vector<double> y(101);
  for (int64_t i = 0; i < 101; ++i) y[i] = std::exp(-0.02 * i);
  const std::vector<double> out = UniformLinear<double>(y);
  const std::vector<float> fout = UniformLinear<float>(y);
  for (int64_t i = 0; i < 201; ++i) {
    const double want = i % 2 == 0 ? y[i / 2] : 0.5 * (y[i / 2] + y[i / 2 + 1]);
    ASSERT_NEAR(out[i], want, 1e-14) << i;
    ASSERT_NEAR(fout[i], out[i], 1e-6) << i;
  }
}

}  // namespace
