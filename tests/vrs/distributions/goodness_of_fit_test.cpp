// Goodness of fit of every distribution, both precisions and each method, at fixed seeds: the
// Kolmogorov-Smirnov distance of 10^6 draws from the exact distribution function, computed here,
// against its critical value at significance 0.001 (1.9495 / sqrt(n)). And the multivariate
// Gaussian's sample mean and covariance against a and T T^T within their sampling error.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "oxl/vrs.h"

namespace {

constexpr int32_t kDraws = 1000000;
// sqrt(-ln(0.001 / 2) / 2): the Kolmogorov distribution's 0.999 quantile.
constexpr double kCritical = 1.9495 / 1000.0;

double Phi(double z) { return 0.5 * std::erfc(-z / std::sqrt(2.0)); }

double KsDistance(std::vector<double> x, const std::function<double(double)>& cdf) {
  std::sort(x.begin(), x.end());
  const double n = static_cast<double>(x.size());
  double d = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    const double f = cdf(x[i]);
    d = std::max({d, f - i / n, (i + 1) / n - f});
  }
  return d;
}

struct Law {
  const char* name;
  std::function<int32_t(StreamRecord*, int32_t, double*)> d;
  std::function<int32_t(StreamRecord*, int32_t, float*)> s;
  std::function<double(double)> cdf;
};

// Parameters a = 1, beta (sigma) = 2 throughout, shapes as named.
std::vector<Law> Laws() {
  const double a = 1, beta = 2;
  std::vector<Law> laws = {
      {"Exponential",
       [](StreamRecord* s, int32_t n, double* r) { return _vrsdRngExponential(0, s, n, r, 1, 2); },
       [](StreamRecord* s, int32_t n, float* r) { return _vrssRngExponential(0, s, n, r, 1, 2); },
       [=](double x) { return x < a ? 0.0 : -std::expm1(-(x - a) / beta); }},
      {"Laplace",
       [](StreamRecord* s, int32_t n, double* r) { return _vrsdRngLaplace(0, s, n, r, 1, 2); },
       [](StreamRecord* s, int32_t n, float* r) { return _vrssRngLaplace(0, s, n, r, 1, 2); },
       [=](double x) {
         return x < a ? 0.5 * std::exp((x - a) / beta) : 1 - 0.5 * std::exp(-(x - a) / beta);
       }},
      {"Weibull",
       [](StreamRecord* s, int32_t n, double* r) { return _vrsdRngWeibull(0, s, n, r, 1.5, 1, 2); },
       [](StreamRecord* s, int32_t n, float* r) { return _vrssRngWeibull(0, s, n, r, 1.5f, 1, 2); },
       [=](double x) { return x < a ? 0.0 : -std::expm1(-std::pow((x - a) / beta, 1.5)); }},
      {"Cauchy",
       [](StreamRecord* s, int32_t n, double* r) { return _vrsdRngCauchy(0, s, n, r, 1, 2); },
       [](StreamRecord* s, int32_t n, float* r) { return _vrssRngCauchy(0, s, n, r, 1, 2); },
       [=](double x) { return 0.5 + std::atan((x - a) / beta) / M_PI; }},
      {"Rayleigh",
       [](StreamRecord* s, int32_t n, double* r) { return _vrsdRngRayleigh(0, s, n, r, 1, 2); },
       [](StreamRecord* s, int32_t n, float* r) { return _vrssRngRayleigh(0, s, n, r, 1, 2); },
       [=](double x) { return x < a ? 0.0 : -std::expm1(-std::pow((x - a) / beta, 2)); }},
      {"Gumbel",
       [](StreamRecord* s, int32_t n, double* r) { return _vrsdRngGumbel(0, s, n, r, 1, 2); },
       [](StreamRecord* s, int32_t n, float* r) { return _vrssRngGumbel(0, s, n, r, 1, 2); },
       [=](double x) { return -std::expm1(-std::exp((x - a) / beta)); }},
  };
  for (const int method : {0, 1}) {
    laws.push_back(
        {method ? "Lognormal/ICDF" : "Lognormal/BoxMuller2",
         [=](StreamRecord* s, int32_t n, double* r) {
           return _vrsdRngLognormal(method, s, n, r, 0.5, 0.25, 1, 2);
         },
         [=](StreamRecord* s, int32_t n, float* r) {
           return _vrssRngLognormal(method, s, n, r, 0.5f, 0.25f, 1, 2);
         },
         [](double x) { return x <= 1 ? 0.0 : Phi((std::log((x - 1) / 2) - 0.5) / 0.25); }});
  }
  const char* names[3] = {"Gaussian/BoxMuller", "Gaussian/BoxMuller2", "Gaussian/ICDF"};
  for (const int method : {0, 1, 2}) {
    laws.push_back({names[method],
                    [=](StreamRecord* s, int32_t n, double* r) {
                      return _vrsdRngGaussian(method, s, n, r, 1, 2);
                    },
                    [=](StreamRecord* s, int32_t n, float* r) {
                      return _vrssRngGaussian(method, s, n, r, 1, 2);
                    },
                    [](double x) { return Phi((x - 1) / 2); }});
  }
  return laws;
}

TEST(GoodnessOfFit, KolmogorovSmirnov) {
  for (const Law& law : Laws()) {
    SCOPED_TRACE(law.name);
    StreamRecord* s = nullptr;
    const uint32_t seed = 20240601;
    ASSERT_EQ(__vrsNewStreamEx(&s, OXL_BRNG_MT19937, 1, &seed), 0);
    std::vector<double> x(kDraws);
    ASSERT_EQ(law.d(s, kDraws, x.data()), 0);
    const double dd = KsDistance(x, law.cdf);
    std::vector<float> f(kDraws);
    ASSERT_EQ(law.s(s, kDraws, f.data()), 0);
    const double ds = KsDistance(std::vector<double>(f.begin(), f.end()), law.cdf);
    __vrsDeleteStream(&s);
    EXPECT_LT(dd, kCritical) << "double";
    EXPECT_LT(ds, kCritical) << "float";
    RecordProperty(std::string(law.name) + "_ks_double", std::to_string(dd));
    RecordProperty(std::string(law.name) + "_ks_float", std::to_string(ds));
  }
}

// Mean a and covariance T T^T of 2.5 * 10^5 vectors of dimension 4, by full and packed storage
// and each method; every entry within 5 standard errors (Var of a sample covariance entry is
// (S_ij^2 + S_ii S_jj) / n for normal vectors).
TEST(GoodnessOfFit, GaussianMVCovariance) {
  constexpr int kDim = 4;
  constexpr int32_t kVectors = 250000;
  const double t[kDim * kDim] = {2.0,  0,   0,   0, 0.5, 1.0, 0,   0,
                                 -1.0, 0.3, 0.7, 0, 0.2, 0.2, 0.2, 1.5};
  const double mean[kDim] = {1.0, -2.0, 0.0, 10.0};
  double packed[kDim * (kDim + 1) / 2];
  int k = 0;
  for (int j = 0; j < kDim; ++j) {
    for (int i = j; i < kDim; ++i) packed[k++] = t[i * kDim + j];
  }
  double sigma[kDim][kDim];
  for (int i = 0; i < kDim; ++i) {
    for (int j = 0; j < kDim; ++j) {
      sigma[i][j] = 0;
      for (int q = 0; q < kDim; ++q) sigma[i][j] += t[i * kDim + q] * t[j * kDim + q];
    }
  }
  for (const int method : {0, 1, 2}) {
    for (const int32_t storage : {int32_t{MatrixFull}, int32_t{MatrixPacked}}) {
      SCOPED_TRACE(testing::Message() << "method " << method << " storage " << storage);
      StreamRecord* s = nullptr;
      const uint32_t seed = 77;
      ASSERT_EQ(__vrsNewStreamEx(&s, OXL_BRNG_MCG59, 1, &seed), 0);
      std::vector<double> r(kVectors * kDim);
      ASSERT_EQ(_vrsdRngGaussianMV(method, s, kVectors, r.data(), kDim, storage, mean,
                                   storage == MatrixFull ? t : packed),
                0);
      __vrsDeleteStream(&s);
      double m[kDim] = {};
      for (int32_t v = 0; v < kVectors; ++v) {
        for (int i = 0; i < kDim; ++i) m[i] += r[v * kDim + i];
      }
      for (double& x : m) x /= kVectors;
      for (int i = 0; i < kDim; ++i) {
        EXPECT_NEAR(m[i], mean[i], 5 * std::sqrt(sigma[i][i] / kVectors)) << i;
        for (int j = 0; j < kDim; ++j) {
          double c = 0;
          for (int32_t v = 0; v < kVectors; ++v) {
            c += (r[v * kDim + i] - m[i]) * (r[v * kDim + j] - m[j]);
          }
          c /= kVectors - 1;
          const double se =
              std::sqrt((sigma[i][j] * sigma[i][j] + sigma[i][i] * sigma[j][j]) / kVectors);
          EXPECT_NEAR(c, sigma[i][j], 5 * se) << i << " " << j;
        }
      }
    }
  }
}

}  // namespace
