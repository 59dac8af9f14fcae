// Interpolation of every kind against direct evaluation of its pieces in every layout; integration
// of every spline kind against a piece-by-piece Gauss-Legendre oracle in long double; the sign and
// limit rules, hints, callbacks, look-up and step kinds, blocks and threads, statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "df/df_test_util.h"
#include "df/whole_cells.h"
#include "support/failing_allocator.h"
#include "support/targets.h"

namespace {

using namespace oxl::test;
using Ld = long double;

// Every polynomial kind (Subbotin's walls at its subgrid) on uneven and even knots, every layout
// and choice of derivatives, sites given or evenly spaced between two ends, against direct
// evaluation of the pieces; sites outside follow the end pieces.
TEST(DfInterpolate, EveryKindLayoutAndDerivative) {
  // The derivative orders asked for, and the derivatives that come out (none asked: the values).
  const std::pair<std::vector<int64_t>, std::vector<int>> orders[] = {
      {{}, {0}},
      {{0, 0}, {0}},
      {{1, 0, 1}, {0, 2}},
      {{0, 1, 1, 1}, {1, 2, 3}},
      {{1, 1, 1, 1, 1}, {0, 1, 2, 3, 4}}};
  for (const Kind& kind : kKinds) {
    if (kind.order == 0) continue;  // the step kinds: below
    for (bool uniform : {false, true}) {
      const RandomSpline s(kind, uniform, 4, 40);
      // Evenly spaced sites, formed as the library expands the two ends of SITES_UNIFORM.
      const int64_t fc = s.fc, ns = 600;
      const double ends[2] = {s.ends[0] - 1, s.ends[1] + 1}, step = (ends[1] - ends[0]) / (ns - 1);
      std::vector<double> sites(ns);
      for (int64_t i = 0; i < ns; ++i) sites[i] = std::fma(static_cast<double>(i), step, ends[0]);
      for (const auto& [dorder, which] : orders) {
        const int64_t nr = static_cast<int64_t>(which.size()), nd = std::ssize(dorder);
        for (int64_t hint : {0, 16, 32, 128, 256, 512}) {
          std::vector<double> out(ns * nr * fc, -1.0);
          ASSERT_EQ(Interpolate(s.t.task, ns, hint == 0 ? ends : sites.data(), nd, dorder.data(),
                                out.data(), hint, nullptr, hint == 0 ? SITES_UNIFORM : 0),
                    0);
          for (int64_t f = 0; f < fc; ++f) {
            for (int64_t i = 0; i < ns; ++i) {
              for (int64_t k = 0; k < nr; ++k) {
                const int64_t at = hint == 32    ? (f * nr + k) * ns + i
                                   : hint == 256 ? (i * fc + f) * nr + k
                                   : hint == 512 ? (i * nr + k) * fc + f
                                                 : (f * ns + i) * nr + k;
                const double want = s.At(f, sites[i], which[k]);
                ASSERT_NEAR(out[at], want, 1e-12 * (1 + std::fabs(want)))
                    << kind.name << (uniform ? " uniform" : "") << " hint " << hint << " f " << f
                    << " site " << sites[i] << " d " << which[k];
              }
            }
          }
        }
      }
    }
  }
  const RandomSpline fx(kCubic, false, 4, 40);  // two functions
  std::vector<double> out(10);
  const int64_t one[1] = {1};
  EXPECT_EQ(Interpolate(fx.t.task, 1, out.data(), 1, one, out.data(), 64),
            DF_STATUS_BAD_INTERPOLATE_RESULT_HINT);
  fx.t->spline_type = 1;
  EXPECT_EQ(Interpolate(fx.t.task, 1, out.data(), 1, one, out.data(), 16), DF_STATUS_BAD_TYPE);
}

// Threads: the parallel path above 4096 sites gives the same bits as the serial one, in a
// staged layout too; cells come back when asked for; given cells skip the search.
TEST(DfInterpolate, ParallelCellsAndGivenCells) {
  RandomSpline fx(kCubic, false, 4, 40);
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
// one only those right of it; inner sites without a callback use the polynomials. The callback
// records each site with its cell.
int32_t Record(int64_t* n, int64_t* cells, double* sites, double* results, void* params, void*) {
  auto* seen = static_cast<std::vector<double>*>(params);
  for (int64_t i = 0; i < *n; ++i) {
    seen->insert(seen->end(), {sites[i], static_cast<double>(cells[i])});
    results[i] = 1000.0 + sites[i];       // function 0
    results[*n + i] = 2000.0 + sites[i];  // function 1
  }
  return 0;
}
int32_t Fail(int64_t*, int64_t*, double*, double*, void*, void*) { return -77; }

TEST(DfInterpolate, CallbacksByGroup) {
  RandomSpline fx(kCubic, false, 4, 40);
  std::vector<double> sites = {-2.0, 1.0, 100.0, -1.5, 2.5, 200.0};
  const int64_t ns = static_cast<int64_t>(sites.size());
  std::vector<double> out(ns * 2);
  std::vector<double> left, right;
  const int64_t dorder[1] = {1};
  const auto call = [&](oxl_df_dinterp_callback side, oxl_df_dinterp_callback inner) {
    return oxl_df_kernel_dDFInterpolate1D(fx.t.task, 0, 0, ns, sites.data(), 0, 1, dorder, nullptr,
                                          out.data(), 16, nullptr, side, &left, side, &right, inner,
                                          nullptr, nullptr, nullptr, nullptr);
  };
  ASSERT_EQ(call(&Record, nullptr), 0);
  EXPECT_EQ(left, (std::vector<double>{-2.0, 0, -1.5, 0}));
  EXPECT_EQ(right, (std::vector<double>{100.0, 40, 200.0, 40}));
  EXPECT_EQ(out[0], 998.0);
  EXPECT_EQ(out[ns + 3], 1998.5);
  EXPECT_EQ(out[5], 1200.0);
  EXPECT_NEAR(out[1], fx.At(0, 1.0, 0), 1e-12);
  EXPECT_NEAR(out[ns + 4], fx.At(1, 2.5, 0), 1e-12);
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
  RandomSpline fx(kCubic, false, 4, 40);
  int64_t fc = fx.fc;
  const int64_t many = 5000, nsite = 300;
  const double ends[2] = {-1.0, 12.0};
  std::vector<double> sites(nsite), results(many * fc * 3, -3.0);
  for (int64_t i = 0; i < nsite; ++i) sites[i] = -2.0 + 0.05 * static_cast<double>(i);
  std::vector<int64_t> cells(many, -3);
  const int64_t dorder[3] = {1, 1, 1};
  // A natural spline and a Subbotin quadratic on the same knots, with their end conditions.
  RandomSpline natural(kCubic, false, 4, 40), subbotin(kKinds[3], false, 4, 40);
  double bc[2] = {0.0, 1.0};
  natural.t->boundary_type = BC_FREE_END;
  subbotin.t->boundary_type = BC_LEFT_FIRST | BC_RIGHT_FIRST;
  subbotin.t->boundary_data = bc;
  const auto bytes = [](const auto& v) {
    return std::pair<const void*, std::size_t>(v.data(), v.size() * sizeof(v[0]));
  };
  const int32_t no_memory = DF_STATUS_NO_MEMORY;
  const std::vector<FailureSweepRow> rows = {
      {"natural cubic",
       [&] { return Construct<double>(natural.t.task); },
       no_memory,
       {bytes(natural.coeff)}},
      {"Subbotin quadratic",
       [&] { return Construct<double>(subbotin.t.task); },
       no_memory,
       {bytes(subbotin.coeff)}},
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

// The integral over [a, b] of a function that is one polynomial (or constant) between
// consecutive breakpoints, the end pieces going on outside: 3-point Gauss-Legendre per piece,
// exact for degree 5. value(s, m) is the function at s of the piece that holds m.
Ld Oracle(const std::vector<Ld>& breaks, Ld a, Ld b, const std::function<Ld(Ld, Ld)>& value) {
  if (a == b) return 0;
  const Ld sign = a < b ? 1 : -1;
  if (b < a) std::swap(a, b);
  std::vector<Ld> cuts = {a};
  for (Ld v : breaks) {
    if (v > a && v < b) cuts.push_back(v);
  }
  cuts.push_back(b);
  static const Ld node = std::sqrt(Ld(0.6));
  Ld sum = 0;
  for (size_t k = 0; k + 1 < cuts.size(); ++k) {
    const Ld lo = cuts[k], hi = cuts[k + 1], mid = (lo + hi) / 2, half = (hi - lo) / 2;
    sum += half * (Ld(5) / 9 * value(mid - half * node, mid) + Ld(8) / 9 * value(mid, mid) +
                   Ld(5) / 9 * value(mid + half * node, mid));
  }
  return sign * sum;
}

// The exact integral of the spline's function f over [a, b].
Ld Exact(const RandomSpline& s, int64_t f, double a, double b) {
  const std::vector<Ld>& w = s.walls;
  const int64_t n = s.n;
  if (s.kind.order == 0) {
    // Step functions: y[i] on [x[i], x[i+1]) (right-continuous), y[i+1] (left-continuous); the
    // end values outside.
    return Oracle(w, a, b, [&](Ld, Ld m) -> Ld {
      if (m < w[0]) return s.y[f * n];
      if (m > w[n - 1]) return s.y[f * n + n - 1];
      const int64_t i = s.PieceAt(m);
      return s.y[f * n + (s.kind.type == 8 ? i + 1 : i)];
    });
  }
  return Oracle(w, a, b, [&](Ld v, Ld m) { return s.Piece(f, s.PieceAt(m), v, 0); });
}

// Limit pairs of every kind: random, both outside, one cell, neighbouring cells, at knots, equal.
void Pairs(const RandomSpline& s, std::vector<double>* l, std::vector<double>* r) {
  std::mt19937_64 rng(5);
  std::uniform_real_distribution<double> u(s.ends[0] - 1.5, s.ends[1] + 1.5);
  for (int i = 0; i < 40; ++i) {
    l->push_back(u(rng));
    r->push_back(u(rng));
  }
  const double x1 = static_cast<double>(s.Knot(1)), x2 = static_cast<double>(s.Knot(2));
  const double x3 = static_cast<double>(s.Knot(3)), first = s.ends[0], last = s.ends[1];
  const double extra[][2] = {{x1 + 0.01, x2 - 0.02},
                             {x1 + 0.05, x3 - 0.05},
                             {x1, x3},
                             {first - 2, first - 1},
                             {last + 0.5, last + 2},
                             {first - 1, last + 1},
                             {x2, x2},
                             {last, last},
                             {first - 3, first - 3},
                             {last, x1}};
  for (const auto& e : extra) {
    l->push_back(e[0]);
    r->push_back(e[1]);
  }
}

TEST(DfIntegrate, EveryKindMatchesPiecewiseOracle) {
  for (const Kind& kind : kKinds) {
    for (bool uniform : {false, true}) {
      RandomSpline s(kind, uniform, 11);
      std::vector<double> l, r;
      Pairs(s, &l, &r);
      const int64_t np = static_cast<int64_t>(l.size());
      std::vector<double> by_function(np * s.fc), swapped(np * s.fc), by_limit(np * s.fc);
      ASSERT_EQ(Integrate(s.t.task, np, l.data(), r.data(), by_function.data()), 0) << kind.name;
      ASSERT_EQ(Integrate(s.t.task, np, r.data(), l.data(), swapped.data(), 16), 0);
      ASSERT_EQ(Integrate(s.t.task, np, l.data(), r.data(), by_limit.data(), 32), 0);
      for (int64_t f = 0; f < s.fc; ++f) {
        for (int64_t j = 0; j < np; ++j) {
          const double got = by_function[f * np + j];
          const Ld want = Exact(s, f, l[j], r[j]);
          const double width = std::fabs(r[j] - l[j]);
          ASSERT_NEAR(got, static_cast<double>(want), 1e-13 * (1 + width) * (1 + std::fabs(got)))
              << kind.name << (uniform ? " uniform" : "") << " f " << f << " [" << l[j] << ", "
              << r[j] << "]";
          ASSERT_EQ(swapped[f * np + j], -got);  // exactly
          ASSERT_EQ(by_limit[j * s.fc + f], got);
          if (l[j] == r[j]) {
            ASSERT_EQ(got, 0.0);
          }
        }
      }
    }
  }
}

TEST(DfIntegrate, FrontStatuses) {
  RandomSpline s(kCubic, false, 3);
  const double l[2] = {0, 1}, r[2] = {1, 2};
  double out[4];
  // Order, type, result hint, status.
  const int64_t cases[][4] = {{0, 6, 0, DF_STATUS_BAD_TYPE},
                              {1, 0, 0, DF_STATUS_BAD_TYPE},
                              {3, 2, 0, DF_STATUS_BAD_TYPE},
                              {4, 1, 0, DF_STATUS_BAD_TYPE},
                              {4, 64, 0, DF_STATUS_BAD_TYPE},
                              {0, 0, 0, DF_STATUS_BAD_TYPE},
                              {4, 9, 0, 0},
                              {0, 7, 0, 0},
                              {4, 2, 64, DF_STATUS_BAD_INTEGRATE_RESULT_HINT},
                              {4, 2, 256, DF_STATUS_BAD_INTEGRATE_RESULT_HINT}};
  for (const auto& [order, type, result_hint, status] : cases) {
    s.t->spline_order = order;
    s.t->spline_type = type;
    EXPECT_EQ(Integrate(s.t.task, 2, l, r, out, result_hint), status) << order << " " << type;
  }
  const double bad_hint[5] = {0, 0.5, 0, 0, 3};
  const double peak_far[5] = {0, 1, 0, 0, 12};  // partition_size + 1
  for (const double* hint : {bad_hint, peak_far}) {
    for (int side = 0; side < 2; ++side) {
      EXPECT_EQ(oxl_df_kernel_dDFIntegrate1D(s.t.task, 0, 2, l, 0, r, 0, side == 0 ? hint : nullptr,
                                             side == 1 ? hint : nullptr, out, 0, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr),
                DF_STATUS_BAD_DATA_HINT);
    }
  }
  EXPECT_EQ(Integrate<double>(nullptr, 2, l, r, out), DF_STATUS_NO_TASK);
  // Step functions need values.
  TaskHolder empty;
  ASSERT_EQ(NewTask(empty, 11, s.x.data()), 0);
  ASSERT_EQ(EditSpline<double>(empty.task, nullptr, 0, 7), 0);
  EXPECT_EQ(Integrate(empty.task, 2, l, r, out), DF_STATUS_NO_VALUES);
}

// A search callback that finds the cells itself and says so.
int32_t OwnCells(int64_t* n, const double* sites, void* cells, int32_t* flags, void* params,
                 void* library_params) {
  const auto* x = static_cast<const std::vector<double>*>(params);
  if (library_params == nullptr || *static_cast<int32_t*>(library_params) != 1) return -7;
  for (int64_t i = 0; i < *n; ++i) {
    static_cast<int64_t*>(cells)[i] = BruteCell(*x, sites[i]);
    flags[i] = 1;
  }
  return 1000;
}

// Limits given by their ends, a peak hint on both sides and a search callback give the integrals
// of the default search (the sorted and quasi-uniform methods run through the same frame, and the
// search tests check their cells).
TEST(DfIntegrate, LimitHintsAndSearchMethods) {
  RandomSpline s(kCubic, false, 7);
  const int64_t np = 300;
  std::vector<double> l(np), r(np);
  const double l_ends[2] = {-2.0, 3.5}, r_ends[2] = {5.0, -1.0};
  for (int64_t j = 0; j < np; ++j) {
    l[j] = std::fma(static_cast<double>(j), (l_ends[1] - l_ends[0]) / (np - 1), l_ends[0]);
    r[j] = std::fma(static_cast<double>(j), (r_ends[1] - r_ends[0]) / (np - 1), r_ends[0]);
  }
  std::vector<double> want(np * s.fc), got(np * s.fc);
  ASSERT_EQ(Integrate(s.t.task, np, l.data(), r.data(), want.data()), 0);
  const double peak[5] = {0, 1, 0, 0, 4};
  const std::function<int32_t()> ways[] = {
      [&] {
        return Integrate(s.t.task, np, l_ends, r_ends, got.data(), 0, nullptr, SITES_UNIFORM,
                         SITES_UNIFORM);
      },
      [&] {
        return oxl_df_kernel_dDFIntegrate1D(s.t.task, 0, np, l.data(), 0, r.data(), 0, peak, peak,
                                            got.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr);
      },
      [&] {
        return oxl_df_kernel_dDFIntegrate1D(s.t.task, 0, np, l.data(), 0, r.data(), 0, nullptr,
                                            nullptr, got.data(), 0, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, &OwnCells, &s.x, nullptr);
      },
  };
  for (const auto& way : ways) {
    std::fill(got.begin(), got.end(), -1.0);
    ASSERT_EQ(way(), 0);
    EXPECT_EQ(got, want);
  }
}

// Densities for the callbacks: 10 left of the partition, -3 right of it, 0.5 inside.
template <int kDensity>
int32_t Constant(int64_t* n, const double* lower, const double* upper, double* results,
                 void* params, void*) {
  auto* seen = static_cast<std::vector<double>*>(params);
  for (int64_t f = 0; f < 2; ++f) {
    for (int64_t j = 0; j < *n; ++j) {
      if (!(lower[j] <= upper[j])) return -99;
      results[f * *n + j] = (f + 1) * (kDensity / 2.0) * (upper[j] - lower[j]);
      if (f == 0) seen->insert(seen->end(), {lower[j], upper[j]});
    }
  }
  return 0;
}
int32_t Refuse(int64_t*, const double*, const double*, double*, void*, void*) { return -42; }

TEST(DfIntegrate, CallbacksTakeTheirParts) {
  RandomSpline s(kCubic, false, 9);
  const double first = s.x[0], last = s.x[s.n - 1], mid = 0.5 * (s.x[2] + s.x[3]);
  const double l[] = {first - 2, mid, last + 1, first - 1, last + 3, mid};
  const double r[] = {last + 1, last + 2, first - 0.5, first - 0.25, last + 1, mid + 0.1};
  const int64_t np = 6;
  std::vector<double> plain(np * 2), got(np * 2), seen_left, seen_right, seen_inner;
  ASSERT_EQ(Integrate(s.t.task, np, l, r, plain.data()), 0);
  auto call = [&](oxl_df_dintegr_callback left, oxl_df_dintegr_callback right,
                  oxl_df_dintegr_callback inner) {
    return oxl_df_kernel_dDFIntegrate1D(s.t.task, 0, np, l, 0, r, 0, nullptr, nullptr, got.data(),
                                        0, left, &seen_left, right, &seen_right, inner, &seen_inner,
                                        nullptr, nullptr, nullptr);
  };
  ASSERT_EQ(call(&Constant<20>, &Constant<-6>, nullptr), 0);
  for (int64_t f = 0; f < 2; ++f) {
    for (int64_t j = 0; j < np; ++j) {
      const double lo = std::min(l[j], r[j]), hi = std::max(l[j], r[j]);
      const double sign = r[j] < l[j] ? -1 : 1;
      // The inner part from the spline: the whole plain integral over the clamped range.
      const double a = std::clamp(lo, first, last), b = std::clamp(hi, first, last);
      double inner[2];
      ASSERT_EQ(Integrate(s.t.task, 1, &a, &b, inner), 0);
      const double outside = (f + 1) * (10 * (std::min(hi, first) - std::min(lo, first)) -
                                        3 * (std::max(hi, last) - std::max(lo, last)));
      EXPECT_NEAR(got[f * np + j], sign * (outside + inner[f]), 1e-12) << f << " " << j;
    }
  }
  for (double v : seen_left) EXPECT_LE(v, first);
  for (double v : seen_right) EXPECT_GE(v, last);
  EXPECT_EQ(seen_left.size(), 2u * 3);   // pairs 0, 2, 3 reach left of the partition
  EXPECT_EQ(seen_right.size(), 2u * 4);  // pairs 0, 1, 2, 4 right of it
  // The inner callback alone sees the clamped inner parts.
  ASSERT_EQ(call(nullptr, nullptr, &Constant<1>), 0);
  for (double v : seen_inner) {
    EXPECT_GE(v, first);
    EXPECT_LE(v, last);
  }
  EXPECT_EQ(seen_inner.size(), 2u * 4);  // pairs 0, 1, 2, 5
  EXPECT_NEAR(got[3], plain[3], 1e-15);  // wholly left: the end polynomial
  EXPECT_EQ(call(nullptr, &Refuse, nullptr), -42);
  // Order 0 with another type is the callbacks' own spline.
  s.t->spline_order = 0;
  s.t->spline_type = 0;
  EXPECT_EQ(call(&Constant<2>, &Constant<2>, nullptr), DF_STATUS_BAD_TYPE);
  ASSERT_EQ(call(&Constant<2>, &Constant<2>, &Constant<2>), 0);
  for (int64_t j = 0; j < np; ++j) EXPECT_NEAR(got[j], r[j] - l[j], 1e-14);
}

// Blocks of 128 from 4096 pairs on, split over threads, give the bits of small calls (the bits of
// one thread are threads_test's).
TEST(DfIntegrate, BlocksAndThreads) {
  RandomSpline s(kCubic, true, 13);
  const int64_t np = 5000;
  std::mt19937_64 rng(1);
  std::uniform_real_distribution<double> u(-3, 5);
  std::vector<double> l(np), r(np);
  for (int64_t j = 0; j < np; ++j) {
    l[j] = u(rng);
    r[j] = u(rng);
  }
  std::sort(r.begin(), r.end());  // the sorted search runs its cursor on through the blocks
  std::vector<double> threaded(np * s.fc), pieces(np * s.fc);
  const int64_t calls = FakeThreads::calls;
  ASSERT_EQ(Integrate(s.t.task, np, l.data(), r.data(), threaded.data(), 32, FakeThreads::Table(),
                      0, SITES_SORTED),
            0);
  EXPECT_EQ(FakeThreads::calls - calls, 1);
  for (int64_t j = 0; j < np; j += 100) {
    ASSERT_EQ(Integrate(s.t.task, 100, l.data() + j, r.data() + j, pieces.data() + j * s.fc, 32),
              0);
  }
  EXPECT_EQ(threaded, pieces);
}

// The whole-cell sums are the same bits on every SIMD target, for every start and length (their
// values are checked through the oracle above), in both precisions.
template <class T>
void WholeCellsSameOnEveryTarget() {
  std::mt19937_64 rng(21);
  std::uniform_real_distribution<double> u(-2, 2);
  std::vector<T> x(64), c(4 * 64), first;
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<T>(0.3 * i + 0.1 * u(rng));
  for (T& v : c) v = static_cast<T>(u(rng));
  ForEachTarget([&](const std::string& target) {
    std::vector<T> all;
    for (int degree = 1; degree <= 3; ++degree) {
      for (bool uniform : {false, true}) {
        for (int64_t begin : {0, 1, 3, 6}) {
          for (int64_t groups : {1, 2, 5, 13}) {
            T got[4];
            oxl::df::WholeCellSums(degree, uniform, c.data(), x.data(), T(0.25), begin, groups,
                                   got);
            all.insert(all.end(), got, got + 4);
          }
        }
      }
    }
    if (first.empty()) first = all;
    EXPECT_EQ(all, first) << target;
  });
}

TEST(DfIntegrate, WholeCellsSameOnEveryTarget) {
  WholeCellsSameOnEveryTarget<double>();
  WholeCellsSameOnEveryTarget<float>();
}

}  // namespace
