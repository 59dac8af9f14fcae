// Erfc and CdfNorm beyond the vector kernels' reach: the result is subnormal or zero, and
// extended precision gives it rounded once more to the element type, where its last place is fixed
// and the double rounding costs at most a sliver of the smallest subnormal.
#include "vek/kernels/erf_rare.h"

#include "vek/frame/scalar_layer.h"

#include <cmath>

namespace oxl::vek {

namespace {

long double Erfc(long double x) { return std::erfc(x); }
long double CdfNorm(long double x) { return scalar::CdfNormValue(x); }

template <long double (*kF)(long double), class T>
int32_t Rare(T x, T* r) {
  if (std::isnan(x)) {
    *r = x * x;
    return 0;
  }
  *r = static_cast<T>(kF(x));
  // The infinity's result is exactly 0: no underflow to report.
  return std::isinf(x) ? 0 : 4;
}

}  // namespace

int32_t vderfc_cout_rare(const double* a, double* r) { return Rare<Erfc>(*a, r); }
int32_t vserfc_cout_rare(const float* a, float* r) { return Rare<Erfc>(*a, r); }
int32_t vdcdfnorm_cout_rare(const double* a, double* r) { return Rare<CdfNorm>(*a, r); }
int32_t vscdfnorm_cout_rare(const float* a, float* r) { return Rare<CdfNorm>(*a, r); }

}  // namespace oxl::vek
