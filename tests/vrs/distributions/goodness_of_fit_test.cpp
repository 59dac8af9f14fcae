// Goodness of fit of every distribution, both precisions and each method, at fixed seeds: the
// Kolmogorov-Smirnov distance of 10^6 draws from the exact distribution function, computed here,
// against its critical value at significance 0.001 (1.9495 / sqrt(n)). (The multivariate
// Gaussian is a + T z on these normals, which distributions_test checks vector by vector.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "oxl/vrs.h"
#include "support/stream_guard.h"
#include "vrs/distributions/laws.h"

namespace {

constexpr int32_t kDraws = 1000000;
// sqrt(-ln(0.001 / 2) / 2): the Kolmogorov distribution's 0.999 quantile.
constexpr double kCritical = 1.9495 / 1000.0;

// A value that several draws give stands for all the numbers that round to it in its type: a value
// that many draws round to (the displacement a, when beta x is below half its ulp; 0 when x
// underflows) is compared as the mass of its whole rounding cell, bounded by its neighbours. That
// widens the cell by an ulp, far below what 10^6 draws resolve.
template <class T>
double KsDistance(std::vector<T> x, double (*cdf)(double)) {
  std::sort(x.begin(), x.end());
  const double n = static_cast<double>(x.size());
  constexpr T kInf = std::numeric_limits<T>::infinity();
  double d = 0;
  for (size_t i = 0, j = 0; i < x.size(); i = j) {
    while (j < x.size() && x[j] == x[i]) ++j;
    const bool tied = j - i > 1;
    const double below = cdf(tied ? std::nextafter(x[i], -kInf) : x[i]);
    const double above = tied ? cdf(std::nextafter(x[i], kInf)) : below;
    d = std::max({d, below - i / n, j / n - above});
  }
  return d;
}

TEST(GoodnessOfFit, KolmogorovSmirnov) {
  for (const oxl::test::Law& law : oxl::test::kLaws) {
    SCOPED_TRACE(law.name);
    oxl::test::StreamGuard guard(OXL_BRNG_MT19937, {20240601});
    StreamRecord* s = guard.s;
    std::vector<double> x(kDraws);
    ASSERT_EQ(law.d(s, kDraws, x.data()), 0);
    const double dd = KsDistance(x, law.cdf);
    std::vector<float> f(kDraws);
    ASSERT_EQ(law.s(s, kDraws, f.data()), 0);
    const double ds = KsDistance(f, law.cdf);
    EXPECT_LT(dd, kCritical) << "double";
    EXPECT_LT(ds, kCritical) << "float";
    RecordProperty(std::string(law.name) + "_ks_double", std::to_string(dd));
    RecordProperty(std::string(law.name) + "_ks_float", std::to_string(ds));
  }
}

}  // namespace
