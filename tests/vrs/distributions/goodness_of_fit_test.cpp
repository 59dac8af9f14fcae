// Goodness of fit of every distribution, both precisions and each method, at fixed seeds: the
// Kolmogorov-Smirnov distance of 10^6 draws from the exact distribution function, computed here,
// against its critical value at significance 0.001 (1.9495 / sqrt(n)). (The multivariate
// Gaussian is a + T z on these normals, which distributions_test checks vector by vector.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
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

// ---- Integer laws -------------------------------------------------------------------------------
// Chi-square of 10^6 draws against the exact probability mass, computed here in long double, over
// bins of at least 20 expected draws (the tails pooled), at significance 0.001. The rows cross
// every branch: table inversion and the acceptance methods on both sides of their switch, p above
// and below 1/2 (the reflection), Geometric's steep and flat ends.
#include <boost/math/distributions/chi_squared.hpp>

namespace {

long double LnChoose(long double n, long double k) {
  return std::lgamma(n + 1) - std::lgamma(k + 1) - std::lgamma(n - k + 1);
}

struct DiscreteLaw {
  std::string name;
  std::function<int32_t(StreamRecord*, int32_t, int32_t*)> draw;
  std::function<long double(int64_t)> pmf;
};

DiscreteLaw PoissonRow(int32_t method, double mu) {
  const long double m = mu;
  return {
      "Poisson/" + std::to_string(method) + "/" + std::to_string(mu),
      [=](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngPoisson(method, s, n, r, mu); },
      [m](int64_t k) { return std::exp(k * std::log(m) - m - std::lgamma(k + 1.0L)); }};
}

DiscreteLaw BinomialRow(int32_t ntrial, double p) {
  const long double pl = p;
  return {
      "Binomial/" + std::to_string(ntrial) + "/" + std::to_string(p),
      [=](StreamRecord* s, int32_t n, int32_t* r) {
        return _vrsiRngBinomial(0, s, n, r, ntrial, p);
      },
      [=](int64_t k) {
        if (k > ntrial) return 0.0L;
        return std::exp(LnChoose(ntrial, k) + k * std::log(pl) + (ntrial - k) * std::log1p(-pl));
      }};
}

DiscreteLaw GeometricRow(double p) {
  const long double pl = p;
  return {"Geometric/" + std::to_string(p),
          [=](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngGeometric(0, s, n, r, p); },
          [pl](int64_t k) { return pl * std::pow(1 - pl, static_cast<long double>(k)); }};
}

DiscreteLaw HypergeometricRow(int32_t l, int32_t ss, int32_t m) {
  return {
      "Hypergeometric/" + std::to_string(l) + "/" + std::to_string(ss) + "/" + std::to_string(m),
      [=](StreamRecord* s, int32_t n, int32_t* r) {
        return _vrsiRngHypergeometric(0, s, n, r, l, ss, m);
      },
      [=](int64_t k) {
        if (k > std::min(ss, m) || k < ss + m - l) return 0.0L;
        return std::exp(LnChoose(m, k) + LnChoose(l - m, ss - k) - LnChoose(l, ss));
      }};
}

DiscreteLaw NegbinomialRow(double a, double p) {
  const long double al = a;
  const long double pl = p;
  return {
      "Negbinomial/" + std::to_string(a) + "/" + std::to_string(p),
      [=](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngNegbinomial(0, s, n, r, a, p); },
      [=](int64_t k) {
        return std::exp(std::lgamma(al + k) - std::lgamma(al) - std::lgamma(k + 1.0L) +
                        al * std::log(pl) + k * std::log1p(-pl));
      }};
}

std::vector<DiscreteLaw> DiscreteLaws() {
  std::vector<DiscreteLaw> rows;
  for (int32_t method : {OXL_RNG_POISSON_PTPE, OXL_RNG_POISSON_POISNORM}) {
    for (double mu : {0.5, 5.0, 26.9, 27.0, 500.0}) rows.push_back(PoissonRow(method, mu));
  }
  // PoissonV over a cycle of means on both sides of its switch: the counts follow the mixture.
  const std::vector<double> means = {0.5, 5.0, 9.99, 10.0, 150.0};
  rows.push_back({"PoissonV",
                  [means](StreamRecord* s, int32_t n, int32_t* r) {
                    std::vector<double> lambda(n);
                    for (int32_t i = 0; i < n; ++i) lambda[i] = means[i % means.size()];
                    return _vrsiRngPoissonV(0, s, n, r, lambda.data());
                  },
                  [means](int64_t k) {
                    long double sum = 0;
                    for (double mu : means) sum += PoissonRow(0, mu).pmf(k);
                    return sum / means.size();
                  }});
  for (auto [ntrial, p] : {std::pair{100, 0.1}, {100, 0.3}, {1000, 0.7}, {20, 0.5}, {60, 0.6}}) {
    rows.push_back(BinomialRow(ntrial, p));
  }
  for (double p : {0.1, 0.9}) rows.push_back(GeometricRow(p));
  // A table from 0, a table from s + m - l, and the acceptance method from 0 and from above it.
  for (auto [l, ss, m] :
       {std::tuple{1000, 50, 100}, {1000, 900, 800}, {10000, 5000, 3000}, {2000, 1500, 1200}}) {
    rows.push_back(HypergeometricRow(l, ss, m));
  }
  // A table, the log-concave acceptance (a >= 1) and the Poisson sum of logarithmic numbers
  // (a < 1), the last also with a long tail.
  for (auto [a, p] : {std::pair{2.5, 0.5}, {10.0, 0.05}, {0.5, 0.01}, {0.05, 1e-4}}) {
    rows.push_back(NegbinomialRow(a, p));
  }
  rows.push_back(
      {"Bernoulli",
       [](StreamRecord* s, int32_t n, int32_t* r) { return _vrsiRngBernoulli(0, s, n, r, 0.3); },
       [](int64_t k) { return k == 0   ? 1 - 0.3L
                              : k == 1 ? 0.3L
                                       : 0.0L; }});
  return rows;
}

// The statistic and its degrees of freedom. Bins run from the smallest to the largest value seen;
// from each end, values are pooled until the pooled expectation reaches kMinExpected, and the
// mass outside the range seen joins the end bins.
std::pair<double, int> ChiSquare(const std::vector<int32_t>& x, const DiscreteLaw& law) {
  constexpr long double kMinExpected = 20;
  const auto [lo_it, hi_it] = std::minmax_element(x.begin(), x.end());
  const int64_t lo = *lo_it;
  const int64_t hi = *hi_it;
  std::vector<int64_t> count(hi - lo + 1, 0);
  for (int32_t v : x) ++count[v - lo];
  const long double n = x.size();
  std::vector<long double> expected(count.size());
  long double inside = 0;
  for (int64_t k = lo; k <= hi; ++k) inside += expected[k - lo] = n * law.pmf(k);
  long double below = 0;
  for (int64_t k = 0; k < lo; ++k) below += law.pmf(k);
  expected.front() += n * below;
  expected.back() += n - inside - n * below;
  // Pool into bins of enough expectation, walking up; the last partial bin joins its neighbour.
  std::vector<std::pair<long double, int64_t>> bins;
  long double e = 0;
  int64_t c = 0;
  for (size_t i = 0; i < count.size(); ++i) {
    e += expected[i];
    c += count[i];
    if (e >= kMinExpected) {
      bins.push_back({e, c});
      e = 0;
      c = 0;
    }
  }
  if (bins.empty()) return {0.0, 0};
  bins.back().first += e;
  bins.back().second += c;
  long double chi2 = 0;
  for (auto [be, bc] : bins) chi2 += (bc - be) * (bc - be) / be;
  return {static_cast<double>(chi2), static_cast<int>(bins.size()) - 1};
}

TEST(GoodnessOfFit, ChiSquareIntegerLaws) {
  for (const DiscreteLaw& law : DiscreteLaws()) {
    oxl::test::StreamGuard guard(OXL_BRNG_MT19937, {20240601});
    std::vector<int32_t> x(kDraws);
    ASSERT_EQ(law.draw(guard.s, kDraws, x.data()), 0) << law.name;
    const auto [chi2, dof] = ChiSquare(x, law);
    ASSERT_GT(dof, 0) << law.name;
    const double critical =
        boost::math::quantile(boost::math::complement(boost::math::chi_squared(dof), 0.001));
    EXPECT_LT(chi2, critical) << law.name << " dof " << dof;
    RecordProperty(law.name + "_chi2_over_critical", std::to_string(chi2 / critical));
  }
}

}  // namespace
