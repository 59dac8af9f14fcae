// Every continuous law of both precisions and each method, with fixed parameters (a = 1,
// beta or sigma = 2, shapes as named), as one call shape, with its exact distribution function.
// Gamma and Beta come at shapes that cross every branch of their methods.
#pragma once

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include <cmath>
#include <cstdint>
#include <vector>

#include "oxl/vrs.h"

namespace oxl::test {

struct Law {
  const char* name;
  double (*cdf)(double);
  int32_t (*d)(StreamRecord*, int32_t, double*);
  int32_t (*s)(StreamRecord*, int32_t, float*);
};

inline double GaussianCdf(double x) { return 0.5 * std::erfc(-(x - 1) / 2 / std::sqrt(2.0)); }
inline double LognormalCdf(double x) {
  return x <= 1 ? 0.0 : 0.5 * std::erfc(-(std::log((x - 1) / 2) - 0.5) / 0.25 / std::sqrt(2.0));
}

// In double throughout (Boost would otherwise evaluate in long double): a few ulps are far below
// what 10^6 draws resolve, and the grid's distribution functions cost a third of the time.
using InDouble = boost::math::policies::policy<boost::math::policies::promote_double<false>>;

template <float kShape>
double GammaCdf(double x) {
  return x <= 1 ? 0.0 : boost::math::gamma_p(double{kShape}, (x - 1) / 2, InDouble());
}
template <float kP, float kQ>
double BetaCdf(double x) {
  return x <= 1   ? 0.0
         : x >= 3 ? 1.0
                  : boost::math::ibeta(double{kP}, double{kQ}, (x - 1) / 2, InDouble());
}

// The double and float entries of one law, called with the same arguments.
#define OXL_LAW(name, cdf, entry, ...)                                                             \
  {                                                                                                \
    name, cdf, [](StreamRecord* s, int32_t n, double* r) { return _vrsdRng##entry(__VA_ARGS__); }, \
        [](StreamRecord* s, int32_t n, float* r) { return _vrssRng##entry(__VA_ARGS__); }          \
  }

inline const std::vector<Law> kLaws = {
    OXL_LAW(
        "Exponential", [](double x) { return x < 1 ? 0.0 : -std::expm1(-(x - 1) / 2); },
        Exponential, 0, s, n, r, 1, 2),
    OXL_LAW(
        "Laplace",
        [](double x) {
          return x < 1 ? 0.5 * std::exp((x - 1) / 2) : 1 - 0.5 * std::exp(-(x - 1) / 2);
        },
        Laplace, 0, s, n, r, 1, 2),
    OXL_LAW(
        "Weibull", [](double x) { return x < 1 ? 0.0 : -std::expm1(-std::pow((x - 1) / 2, 1.5)); },
        Weibull, 0, s, n, r, 1.5f, 1, 2),
    OXL_LAW(
        "Cauchy", [](double x) { return 0.5 + std::atan((x - 1) / 2) / M_PI; }, Cauchy, 0, s, n, r,
        1, 2),
    OXL_LAW(
        "Rayleigh", [](double x) { return x < 1 ? 0.0 : -std::expm1(-std::pow((x - 1) / 2, 2)); },
        Rayleigh, 0, s, n, r, 1, 2),
    OXL_LAW(
        "Gumbel", [](double x) { return -std::expm1(-std::exp((x - 1) / 2)); }, Gumbel, 0, s, n, r,
        1, 2),
    OXL_LAW("Lognormal/BoxMuller2", LognormalCdf, Lognormal, 0, s, n, r, 0.5f, 0.25f, 1, 2),
    OXL_LAW("Lognormal/ICDF", LognormalCdf, Lognormal, 1, s, n, r, 0.5f, 0.25f, 1, 2),
    OXL_LAW("Gaussian/BoxMuller", GaussianCdf, Gaussian, 0, s, n, r, 1, 2),
    OXL_LAW("Gaussian/BoxMuller2", GaussianCdf, Gaussian, 1, s, n, r, 1, 2),
    OXL_LAW("Gaussian/ICDF", GaussianCdf, Gaussian, 2, s, n, r, 1, 2),
    OXL_LAW("Gamma(0.05)", GammaCdf<0.05f>, Gamma, 0, s, n, r, 0.05f, 1, 2),
    OXL_LAW("Gamma(0.3)", GammaCdf<0.3f>, Gamma, 0, s, n, r, 0.3f, 1, 2),
    OXL_LAW("Gamma(0.6)", GammaCdf<0.6f>, Gamma, 0, s, n, r, 0.6f, 1, 2),
    OXL_LAW("Gamma(0.8)", GammaCdf<0.8f>, Gamma, 0, s, n, r, 0.8f, 1, 2),
    OXL_LAW("Gamma(1)", GammaCdf<1.0f>, Gamma, 0, s, n, r, 1.0f, 1, 2),
    OXL_LAW("Gamma(1.5)", GammaCdf<1.5f>, Gamma, 0, s, n, r, 1.5f, 1, 2),
    OXL_LAW("Gamma(2.5)", GammaCdf<2.5f>, Gamma, 0, s, n, r, 2.5f, 1, 2),
    OXL_LAW("Gamma(50)", GammaCdf<50.0f>, Gamma, 0, s, n, r, 50.0f, 1, 2),
    OXL_LAW("Beta(0.3,0.5)", (BetaCdf<0.3f, 0.5f>), Beta, 0, s, n, r, 0.3f, 0.5f, 1, 2),
    OXL_LAW("Beta(0.5,2)", (BetaCdf<0.5f, 2.0f>), Beta, 0, s, n, r, 0.5f, 2.0f, 1, 2),
    OXL_LAW("Beta(3,0.4)", (BetaCdf<3.0f, 0.4f>), Beta, 0, s, n, r, 3.0f, 0.4f, 1, 2),
    OXL_LAW("Beta(2,3)", (BetaCdf<2.0f, 3.0f>), Beta, 0, s, n, r, 2.0f, 3.0f, 1, 2),
    OXL_LAW("Beta(1,2)", (BetaCdf<1.0f, 2.0f>), Beta, 0, s, n, r, 1.0f, 2.0f, 1, 2),
    OXL_LAW("Beta(2,1)", (BetaCdf<2.0f, 1.0f>), Beta, 0, s, n, r, 2.0f, 1.0f, 1, 2),
    OXL_LAW("Beta(20,30)", (BetaCdf<20.0f, 30.0f>), Beta, 0, s, n, r, 20.0f, 30.0f, 1, 2),
};

#undef OXL_LAW

}  // namespace oxl::test
