// Goodness of fit of every distribution, both precisions and each method, at fixed seeds: the
// Kolmogorov-Smirnov distance of 10^6 draws from the exact distribution function, computed here,
// against its critical value at significance 0.001 (1.9495 / sqrt(n)). (The multivariate
// Gaussian is a + T z on these normals, which distributions_test checks vector by vector.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "oxl/vrs.h"
#include "support/stream_guard.h"
#include "vrs/distributions/laws.h"

namespace {

constexpr int32_t kDraws = 1000000;
// sqrt(-ln(0.001 / 2) / 2): the Kolmogorov distribution's 0.999 quantile.
constexpr double kCritical = 1.9495 / 1000.0;

double KsDistance(std::vector<double> x, double (*cdf)(double)) {
  std::sort(x.begin(), x.end());
  const double n = static_cast<double>(x.size());
  double d = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    const double f = cdf(x[i]);
    d = std::max({d, f - i / n, (i + 1) / n - f});
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
    const double ds = KsDistance(std::vector<double>(f.begin(), f.end()), law.cdf);
    EXPECT_LT(dd, kCritical) << "double";
    EXPECT_LT(ds, kCritical) << "float";
    RecordProperty(std::string(law.name) + "_ks_double", std::to_string(dd));
    RecordProperty(std::string(law.name) + "_ks_float", std::to_string(ds));
  }
}

}  // namespace
