// Scalar routines for the lanes of the complex Abs, Arg, CIS, Exp, Ln and Sqrt kernels that the
// vector code leaves out: infinite and NaN parts, the zero of Ln, parts so large or so small that
// the vector code's squares or exponentials would leave the exponent range, and the results that
// overflow. Each computes one element as the element loop does (C99 Annex G for the special
// values), stores it, and returns the status to report.
#pragma once

#include <cstdint>

#include "oxl/vek.h"

namespace oxl::vek {

int32_t vcabs_cout_rare(const oxl_complex8* a, float* r);
int32_t vzabs_cout_rare(const oxl_complex16* a, double* r);
int32_t vcarg_cout_rare(const oxl_complex8* a, float* r);
int32_t vzarg_cout_rare(const oxl_complex16* a, double* r);
int32_t vccis_cout_rare(const float* a, oxl_complex8* r);
int32_t vzcis_cout_rare(const double* a, oxl_complex16* r);
int32_t vcexp_cout_rare(const oxl_complex8* a, oxl_complex8* r);
int32_t vzexp_cout_rare(const oxl_complex16* a, oxl_complex16* r);
int32_t vcln_cout_rare(const oxl_complex8* a, oxl_complex8* r);
int32_t vzln_cout_rare(const oxl_complex16* a, oxl_complex16* r);
int32_t vcsqrt_cout_rare(const oxl_complex8* a, oxl_complex8* r);
int32_t vzsqrt_cout_rare(const oxl_complex16* a, oxl_complex16* r);

}  // namespace oxl::vek
