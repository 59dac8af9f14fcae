// Scalar routines of Sin, Cos, SinCos and Tan for infinite and NaN arguments. The NaN of an
// infinity comes from a real subtraction, so that the invalid flag is raised as the operation says;
// a NaN argument is quieted by a multiplication and reported as no error.
#include "vek/kernels/trig_rare.h"

#include <cmath>

#include "vek/kernels/force.h"

namespace oxl::vek {

namespace {

template <class T>
int32_t Rare(T x, T* r) {
  if (std::isinf(x)) {
    *r = Force(Force(x) - x);
    return 1;
  }
  *r = Force(x * x);
  return 0;
}

}  // namespace

int32_t vdsin_cout_rare(const double* a, double* r) { return Rare(*a, r); }
int32_t vdcos_cout_rare(const double* a, double* r) { return Rare(*a, r); }
int32_t vdtan_cout_rare(const double* a, double* r) { return Rare(*a, r); }

int32_t vssin_cout_rare(const float* a, float* r) { return Rare(*a, r); }
int32_t vscos_cout_rare(const float* a, float* r) { return Rare(*a, r); }
int32_t vstan_cout_rare(const float* a, float* r) { return Rare(*a, r); }

// One event for both results.
template <class T>
int32_t SinCosRare(const T* a, T* r1, T* r2) {
  const int32_t status = Rare(*a, r1);
  *r2 = *r1;
  return status;
}

int32_t vdsincos_cout_rare(const double* a, double* r1, double* r2) {
  return SinCosRare(a, r1, r2);
}
int32_t vssincos_cout_rare(const float* a, float* r1, float* r2) { return SinCosRare(a, r1, r2); }

}  // namespace oxl::vek
