// Scalar routines of Sin, Cos, SinCos and Tan for infinite and NaN arguments. The NaN of an
// infinity comes from a real subtraction, so that the invalid flag is raised as the operation says;
// a NaN argument is quieted by a multiplication and reported as no error.
#include "vek/kernels/trig_rare.h"

#include <cmath>

namespace oxl::vek {

namespace {

// The compiler would fold inf - inf, and the flag would be lost.
double Force(double v) {
  volatile double f = v;
  return f;
}

int32_t Rare(double x, double* r) {
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

// One event for both results.
int32_t vdsincos_cout_rare(const double* a, double* r1, double* r2) {
  const int32_t status = Rare(*a, r1);
  *r2 = *r1;
  return status;
}

}  // namespace oxl::vek
