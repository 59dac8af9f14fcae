// Scalar routines for the lanes of the sine, cosine and tangent kernels that the vector code marks:
// infinities and NaNs. Every finite argument, however large, is reduced in the vector code. Each
// routine computes its element or elements, stores them, and returns the status to report
// (0, or 1 for an infinite argument).
#pragma once

#include <cstdint>

namespace oxl::vek {

int32_t vdsin_cout_rare(const double* a, double* r);
int32_t vdcos_cout_rare(const double* a, double* r);
int32_t vdtan_cout_rare(const double* a, double* r);
int32_t vdsincos_cout_rare(const double* a, double* r1, double* r2);
int32_t vssin_cout_rare(const float* a, float* r);
int32_t vscos_cout_rare(const float* a, float* r);
int32_t vstan_cout_rare(const float* a, float* r);
int32_t vssincos_cout_rare(const float* a, float* r1, float* r2);

}  // namespace oxl::vek
