// Boost.Math's inverse error functions in a plain loop, as a user calls them with the default
// policy (which evaluates double in long double). Built only where the header is installed.
#include <boost/math/special_functions/erf.hpp>

#include "support/peers.h"

namespace oxl::bench::peers {
namespace {

template <class T, class F>
void Loop(int n, const T* a, T* r, F f) {
  for (int i = 0; i < n; ++i) r[i] = f(a[i]);
}

}  // namespace

void BoostErfInv(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return boost::math::erf_inv(x); });
}
void BoostErfInv(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return boost::math::erf_inv(x); });
}
void BoostErfcInv(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return boost::math::erfc_inv(x); });
}
void BoostErfcInv(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return boost::math::erfc_inv(x); });
}
// The normal quantile as Boost's normal distribution computes it: -sqrt 2 erfc_inv(2p).
void BoostCdfNormInv(int n, const double* a, double* r) {
  Loop(n, a, r, [](double p) {
    return -boost::math::constants::root_two<double>() * boost::math::erfc_inv(2 * p);
  });
}
void BoostCdfNormInv(int n, const float* a, float* r) {
  Loop(n, a, r, [](float p) {
    return -boost::math::constants::root_two<float>() * boost::math::erfc_inv(2 * p);
  });
}

}  // namespace oxl::bench::peers
