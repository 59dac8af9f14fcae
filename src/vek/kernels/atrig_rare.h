// Scalar routines for the lanes of the inverse trigonometric kernels that the vector code marks:
// Asin and Acos beyond [-1, 1] (status 1), Atan2 where an argument is zero, infinite, NaN or
// beyond 2^+-1000 (2^+-126 for float), or the result leaves the normal range (status 4 unless an
// argument is itself denormal). Each computes its element as the element loop does, stores it,
// and returns the status to report.
#pragma once

#include <cstdint>

namespace oxl::vek {

int32_t vdasin_cout_rare(const double* a, double* r);
int32_t vsasin_cout_rare(const float* a, float* r);
int32_t vdacos_cout_rare(const double* a, double* r);
int32_t vsacos_cout_rare(const float* a, float* r);
int32_t vdatan2_cout_rare(const double* a, const double* b, double* r);
int32_t vsatan2_cout_rare(const float* a, const float* b, float* r);

}  // namespace oxl::vek
