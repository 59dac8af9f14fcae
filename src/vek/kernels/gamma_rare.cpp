// The gamma functions' rare lanes by the scalar layer's functions: the statuses they settle by
// definition (poles 2, TGamma of negative integers and -inf 1), then overflow (3) and, for TGamma,
// underflow (4) judged on the rounded result as the element loops judge it.
#include "vek/kernels/gamma_rare.h"

#include <cmath>
#include <limits>

#include "vek/frame/scalar_layer.h"
#include "vek/kernels/force.h"

namespace oxl::vek {

namespace {

// Under DAZ a denormal argument reads as the zero of its sign and under FTZ a denormal result
// comes out as zero, as for the vector lanes: the compare with zero and the product by one are
// the element type's own operations, under the mode's control.
template <class F, class T>
int32_t Rare(const T* a, T* r) {
  const T in = *a;
  const scalar::LD x = in == T(0) ? std::copysign(scalar::LD{0}, in) : scalar::LD{in};
  int32_t st = 0;
  const scalar::LD v = F::Eval(x, st);
  *r = Force(static_cast<T>(v)) * T(1);
  if (st != 0) return st;
  if (std::isinf(*r) && std::isfinite(x)) return vek_status_overflow;
  if ((F::kFlags & scalar::kUnderflow) && v != 0 && std::isfinite(v) &&
      std::fabs(*r) < std::numeric_limits<T>::min()) {
    return vek_status_underflow;
  }
  return vek_status_ok;
}

}  // namespace

int32_t LGammaRare(const double* a, double* r) { return Rare<scalar::LGamma>(a, r); }
int32_t LGammaRare(const float* a, float* r) { return Rare<scalar::LGamma>(a, r); }
int32_t TGammaRare(const double* a, double* r) { return Rare<scalar::TGamma>(a, r); }
int32_t TGammaRare(const float* a, float* r) { return Rare<scalar::TGamma>(a, r); }

}  // namespace oxl::vek
