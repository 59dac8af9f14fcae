// Scalar routines for the lanes of the complex Mul, MulByConj and Div kernels that the vector code
// leaves out: infinite and NaN parts, a zero divisor, results that overflow, and (double) parts so
// large or so small that the vector code's products would leave the exponent range. Each computes
// one element, stores it, and returns the status to report (0, 2 zero divisor, 3 overflow).
//
// Finite double elements are computed in binary128, where the products of two doubles are exact,
// so each part is rounded once more than the exact value: within half an ulp and a hair. Elements
// with an infinite or NaN part follow C99 Annex G as the compiler's complex arithmetic gives it.
// Denormal parts read as zero, and denormal results are flushed, when MXCSR's DAZ and FTZ say so.
#pragma once

#include <cstdint>

#include "oxl/vek.h"

namespace oxl::vek {

int32_t vcmul_cout_rare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r);
int32_t vzmul_cout_rare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r);
int32_t vcmulbyconj_cout_rare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r);
int32_t vzmulbyconj_cout_rare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r);
int32_t vcdiv_cout_rare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r);
int32_t vzdiv_cout_rare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r);

}  // namespace oxl::vek
