// Scalar routines for the lanes of the LGamma and TGamma kernels that the vector code marks: NaN,
// the poles and negative arguments, the tiny ones and those from which the result overflows. Each
// computes its element as the element loops do, in extended precision rounded once, stores it, and
// returns the status to report.
#pragma once

#include <cstdint>

namespace oxl::vek {

int32_t LGammaRare(const double* a, double* r);
int32_t LGammaRare(const float* a, float* r);
int32_t TGammaRare(const double* a, double* r);
int32_t TGammaRare(const float* a, float* r);

}  // namespace oxl::vek
