/* Vector function kernels, callable by name. Each computes n elements (n <= 0 does nothing) under
 * round to nearest, with the thread's mode deciding flush-to-zero, and reports bad elements
 * through the thread's status, errno and error callback (oxl/vek.h). A result array may be the
 * input array itself. */
#ifndef OXL_VEK_KERNELS_H
#define OXL_VEK_KERNELS_H

#include "oxl/oxl_api.h"
#include "oxl/vek.h"
#include "oxl/vek_functions.h"

OXL_EXTERN_C_BEGIN

/* Element-wise arithmetic: exact IEEE results, no statuses except that complex addition and
 * subtraction at HA and LA report an overflow (3) for an element whose finite parts sum to an
 * infinite part. */
OXL_API void oxl_vek_kernel_sAdd_B3HAynn(int n, const float* a, const float* b, float* r);
OXL_API void oxl_vek_kernel_sSub_B3HAynn(int n, const float* a, const float* b, float* r);
OXL_API void oxl_vek_kernel_sMul_B3HAynn(int n, const float* a, const float* b, float* r);
OXL_API void oxl_vek_kernel_sSqr_B3HAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sSqr_B3LAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sAbs_B3HAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sAbs_B3LAynn(int n, const float* a, float* r);

OXL_API void oxl_vek_kernel_dAdd_B3HAynn(int n, const double* a, const double* b, double* r);
OXL_API void oxl_vek_kernel_dAdd_B3EPnnn(int n, const double* a, const double* b, double* r);
OXL_API void oxl_vek_kernel_dSub_B3HAynn(int n, const double* a, const double* b, double* r);
OXL_API void oxl_vek_kernel_dSub_B3LAynn(int n, const double* a, const double* b, double* r);
OXL_API void oxl_vek_kernel_dMul_B3HAynn(int n, const double* a, const double* b, double* r);
OXL_API void oxl_vek_kernel_dSqr_B3HAynn(int n, const double* a, double* r);
OXL_API void oxl_vek_kernel_dAbs_B3HAynn(int n, const double* a, double* r);

OXL_API void oxl_vek_kernel_cAdd_B3HAynn(int n, const oxl_complex8* a, const oxl_complex8* b,
                                         oxl_complex8* r);
OXL_API void oxl_vek_kernel_cAdd_B3EPnnn(int n, const oxl_complex8* a, const oxl_complex8* b,
                                         oxl_complex8* r);
OXL_API void oxl_vek_kernel_cSub_B3HAynn(int n, const oxl_complex8* a, const oxl_complex8* b,
                                         oxl_complex8* r);
OXL_API void oxl_vek_kernel_cSub_B3EPnnn(int n, const oxl_complex8* a, const oxl_complex8* b,
                                         oxl_complex8* r);
OXL_API void oxl_vek_kernel_cConj_B3HAynn(int n, const oxl_complex8* a, oxl_complex8* r);

OXL_API void oxl_vek_kernel_zAdd_B3LAynn(int n, const oxl_complex16* a, const oxl_complex16* b,
                                         oxl_complex16* r);
OXL_API void oxl_vek_kernel_zAdd_B3HAynn(int n, const oxl_complex16* a, const oxl_complex16* b,
                                         oxl_complex16* r);
OXL_API void oxl_vek_kernel_zAdd_B3EPnnn(int n, const oxl_complex16* a, const oxl_complex16* b,
                                         oxl_complex16* r);
OXL_API void oxl_vek_kernel_zSub_B3HAynn(int n, const oxl_complex16* a, const oxl_complex16* b,
                                         oxl_complex16* r);
OXL_API void oxl_vek_kernel_zSub_B3EPnnn(int n, const oxl_complex16* a, const oxl_complex16* b,
                                         oxl_complex16* r);
OXL_API void oxl_vek_kernel_zConj_B3HAynn(int n, const oxl_complex16* a, oxl_complex16* r);

/* r = (scalea a + shifta) / (scaleb b + shiftb) through an approximate reciprocal refined by one
 * step: about 24 bits for float, 34 for double. scaleb == 0 divides once by shiftb and does not
 * read b; scalea == 0 does not read a, so that both at 0 read neither array and give shifta
 * times 1 / shiftb everywhere. No statuses: zero denominators and overflow give what the
 * arithmetic gives. The double kernel ignores the thread's flush-to-zero mode. */
OXL_API void oxl_vek_kernel_sLinearFrac_U8HAynn(int n, const float* a, const float* b, float scalea,
                                                float shifta, float scaleb, float shiftb, float* r);
OXL_API void oxl_vek_kernel_dLinearFrac_H8HAynn(int n, const double* a, const double* b,
                                                double scalea, double shifta, double scaleb,
                                                double shiftb, double* r);

/* e^x and e^x - 1. Maximum error: HA 1 ulp, LA 4 ulp, EP 11 bits (float) and 26 bits (double).
 * Status 3 where a finite x overflows; Exp reports 4 where the result is denormal or zero, Expm1
 * tends to -1 without a status. Infinities and NaNs report nothing. sExp EP has no statuses at
 * all: it flushes results below the normal range to zero and overflows to infinity silently. */
OXL_API void oxl_vek_kernel_sExp_B3LAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sExp_B3HAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sExp_B3EPnnn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sExpm1_B3LAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sExpm1_B3HAynn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_sExpm1_B3EPnnn(int n, const float* a, float* r);
OXL_API void oxl_vek_kernel_dExp_B3LAynn(int n, const double* a, double* r);
OXL_API void oxl_vek_kernel_dExp_B3HAynn(int n, const double* a, double* r);
OXL_API void oxl_vek_kernel_dExp_B3EPnnn(int n, const double* a, double* r);
OXL_API void oxl_vek_kernel_dExpm1_B3LAynn(int n, const double* a, double* r);
OXL_API void oxl_vek_kernel_dExpm1_B3HAynn(int n, const double* a, double* r);
OXL_API void oxl_vek_kernel_dExpm1_B3EPnnn(int n, const double* a, double* r);

/* Reduction of an extended-precision x by pi/4, for the extended-precision layer's sine, cosine
 * and tangent: x = j pi/4 + reduced[0] + reduced[1], where the octant count j has the parity of
 * `selector` (0: the nearest even count at or above floor(4|x|/pi), 1: the odd one) and takes the
 * sign of x, so that |reduced[0] + reduced[1]| <= pi/4 up to a few ulps of extended precision.
 * The pair is accurate to about 2^-110 relative, and 2^-139 absolute, for every finite x up to
 * the largest extended value. Returns j mod 8 (0 to 7). An infinite or NaN x gives NaNs and 0. */
OXL_API int32_t oxl_vek_kernel_reduce_pi04l(int32_t selector, long double x, long double* reduced);

OXL_EXTERN_C_END

#endif /* OXL_VEK_KERNELS_H */
