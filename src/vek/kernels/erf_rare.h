// Scalar routines for the lanes of the Erfc and CdfNorm kernels that the vector code marks:
// arguments from the underflow threshold on (status 4), the infinity whose result is 0 and NaNs
// (status 0). Each routine computes its
// element, stores it, and returns the status to report.
#pragma once

#include <cstdint>

namespace oxl::vek {

int32_t vderfc_cout_rare(const double* a, double* r);
int32_t vserfc_cout_rare(const float* a, float* r);
int32_t vdcdfnorm_cout_rare(const double* a, double* r);
int32_t vscdfnorm_cout_rare(const float* a, float* r);

}  // namespace oxl::vek
