// Every continuous law of both precisions and each method, with fixed parameters (a = 1,
// beta or sigma = 2, shapes as named), as one call shape, with its exact distribution function.
#pragma once

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
};

#undef OXL_LAW

}  // namespace oxl::test
