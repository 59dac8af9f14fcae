// The inverse error functions where the vector kernels do not reach, by the scalar layer's
// Newton iteration in extended precision: the tail down to the smallest denormal (where ln q
// keeps the iteration well scaled), and the special arguments with the element loops' results
// and statuses. One rounding of the extended result to the element type.
#include "vek/kernels/erfinv_rare.h"

#include "vek/frame/scalar_layer.h"

namespace oxl::vek {

namespace {

template <class F, class T>
int32_t Rare(const T* a, T* r) {
  // A NaN comes back quieted with its payload and sign, which extended arithmetic would not keep.
  if (*a != *a) {
    *r = *a + *a;
    return 0;
  }
  int32_t status = 0;
  *r = static_cast<T>(F::Eval(*a, status));
  return status;
}

}  // namespace

int32_t vserfinv_cout_rare(const float* a, float* r) { return Rare<scalar::ErfInv>(a, r); }
int32_t vderfinv_cout_rare(const double* a, double* r) { return Rare<scalar::ErfInv>(a, r); }
int32_t vserfcinv_cout_rare(const float* a, float* r) { return Rare<scalar::ErfcInv>(a, r); }
int32_t vderfcinv_cout_rare(const double* a, double* r) { return Rare<scalar::ErfcInv>(a, r); }
int32_t vscdfnorminv_cout_rare(const float* a, float* r) { return Rare<scalar::CdfNormInv>(a, r); }
int32_t vdcdfnorminv_cout_rare(const double* a, double* r) {
  return Rare<scalar::CdfNormInv>(a, r);
}

}  // namespace oxl::vek
