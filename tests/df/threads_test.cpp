// Search, construction, interpolation and integration on real OpenMP threads, 2 to 4 of them,
// give the bits of one thread; sorted sites and limits too, where each block of a thread starts
// its walk from its own first site.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "df/df_test_util.h"
#include "oxl/omp_services.h"
#include "support/float_bits.h"

namespace {

using namespace oxl::test;

TEST(DfThreads, SameResultsOnThreads) {
  const int64_t n = 3000, fc = 3, ns = 20000;
  std::vector<double> x(n), y(n * fc), sites(ns);
  for (int64_t i = 0; i < n; ++i) x[i] = i + 0.3 * std::sin(static_cast<double>(i));
  for (int64_t i = 0; i < n * fc; ++i) y[i] = std::cos(0.01 * static_cast<double>(i));
  for (int64_t f = 0; f < fc; ++f) y[f * n + n - 1] = y[f * n];  // periodic ends
  for (int64_t i = 0; i < ns; ++i) sites[i] = -5.0 + 3010.0 * std::fabs(std::sin(0.7 * i));
  // Sorted sites with runs inside one cell, knots themselves and sites outside at both ends.
  std::vector<double> sorted = sites;
  for (int64_t i = 0; i < ns; i += 7) sorted[i] = x[(i * 13) % n];
  std::sort(sorted.begin(), sorted.end());
  std::vector<double> sorted_right(sorted), shifted(sites);
  for (auto& s : sorted_right) s += 2.5;
  for (auto& s : shifted) s -= 1.5;
  const int64_t dorder[2] = {1, 1};

  // Every result of one pass over the operations for one spline, with the given services.
  auto run = [&](int64_t order, int64_t bc, const thread_services* services) {
    TaskHolder t;
    std::vector<double> coeff(order * (n - 1) * fc);
    EXPECT_EQ(NewTask(t, n, x.data(), 0, fc, y.data(), 0, 1), 0);
    EXPECT_EQ(EditSpline(t.task, coeff.data(), order, order == 4 ? 2 : 0, bc), 0);
    EXPECT_EQ(Construct<double>(t.task, services), 0);
    std::vector<double> out = coeff;
    auto add = [&out](const auto& v) { out.insert(out.end(), v.begin(), v.end()); };
    // The cubics add their construction and unsorted integration to what the linear spline
    // shares with them.
    for (const auto* s : {&sites, &sorted}) {
      if (order == 4) break;
      const int64_t hint = s == &sorted ? SITES_SORTED : SITES_NO_HINT;
      std::vector<int64_t> cells(ns);
      EXPECT_EQ(Search(t.task, ns, s->data(), cells.data(), hint, services), 0);
      add(cells);
      for (int64_t result_hint : {16, 256}) {
        std::vector<double> r(ns * fc * 2);
        EXPECT_EQ(
            Interpolate(t.task, ns, s->data(), 2, dorder, r.data(), result_hint, services, hint),
            0);
        add(r);
      }
    }
    std::vector<double> integrals(ns * fc), unsorted(ns * fc);
    if (order == 2) {
      EXPECT_EQ(Integrate(t.task, ns, sorted.data(), sorted_right.data(), integrals.data(), 0,
                          services, SITES_SORTED, SITES_SORTED),
                0);
    }
    EXPECT_EQ(Integrate(t.task, ns, sites.data(), shifted.data(), unsorted.data(), 0, services), 0);
    add(integrals);
    add(unsorted);
    return out;
  };
  const int64_t splines[][2] = {{2, 0}, {4, BC_NOT_A_KNOT}, {4, BC_PERIODIC}};
  for (const auto& [order, bc] : splines) {
    const std::vector<double> serial = run(order, bc, nullptr);
    for (int32_t threads = 2; threads <= 4; ++threads) {
      oxl_services_set_num_threads(threads);
      const std::vector<double> threaded = run(order, bc, oxl_services_omp_df());
      EXPECT_TRUE(SameBits(threaded, serial)) << "order " << order << ", " << threads;
    }
  }
  oxl_services_set_num_threads(0);
}

}  // namespace
