// glibc libmvec peers. libmvec has no header of its own: math.h announces the vector entry points
// only to a vectorizing compiler under -ffast-math. So they are declared here, by their names in
// the x86-64 vector function ABI ('d': AVX2, 'e': AVX-512; N<lanes>; 'v' per vector argument).
#include <gnu/libc-version.h>
#include <immintrin.h>

#include "support/peers.h"

#pragma GCC push_options
#pragma GCC target("avx2,fma")

extern "C" {
__m256d _ZGVdN4v_exp(__m256d);
__m256 _ZGVdN8v_expf(__m256);
__m256d _ZGVdN4v_expm1(__m256d);
__m256 _ZGVdN8v_expm1f(__m256);
__m256d _ZGVdN4v_log(__m256d);
__m256 _ZGVdN8v_logf(__m256);
__m256d _ZGVdN4v_log10(__m256d);
__m256 _ZGVdN8v_log10f(__m256);
__m256d _ZGVdN4v_log1p(__m256d);
__m256 _ZGVdN8v_log1pf(__m256);
__m256d _ZGVdN4v_sin(__m256d);
__m256 _ZGVdN8v_sinf(__m256);
__m256d _ZGVdN4v_cos(__m256d);
__m256d _ZGVdN4v_tan(__m256d);
__m256 _ZGVdN8v_tanf(__m256);
__m256 _ZGVdN8v_cosf(__m256);
__m256d _ZGVdN4vv_pow(__m256d, __m256d);
__m256 _ZGVdN8vv_powf(__m256, __m256);
__m256d _ZGVdN4vv_hypot(__m256d, __m256d);
__m256 _ZGVdN8vv_hypotf(__m256, __m256);
__m256d _ZGVdN4v_cbrt(__m256d);
__m256 _ZGVdN8v_cbrtf(__m256);
__m256d _ZGVdN4v_erf(__m256d);
__m256 _ZGVdN8v_erff(__m256);
__m256d _ZGVdN4v_erfc(__m256d);
__m256 _ZGVdN8v_erfcf(__m256);
__m256d _ZGVdN4v_atan(__m256d);
__m256 _ZGVdN8v_atanf(__m256);
__m256d _ZGVdN4vv_atan2(__m256d, __m256d);
__m256 _ZGVdN8vv_atan2f(__m256, __m256);
__m256d _ZGVdN4v_asin(__m256d);
__m256 _ZGVdN8v_asinf(__m256);
__m256d _ZGVdN4v_acos(__m256d);
__m256 _ZGVdN8v_acosf(__m256);
__m256d _ZGVdN4v_sinh(__m256d);
__m256 _ZGVdN8v_sinhf(__m256);
__m256d _ZGVdN4v_cosh(__m256d);
__m256 _ZGVdN8v_coshf(__m256);
__m256d _ZGVdN4v_tanh(__m256d);
__m256 _ZGVdN8v_tanhf(__m256);
__m256d _ZGVdN4v_asinh(__m256d);
__m256 _ZGVdN8v_asinhf(__m256);
__m256d _ZGVdN4v_acosh(__m256d);
__m256 _ZGVdN8v_acoshf(__m256);
__m256d _ZGVdN4v_atanh(__m256d);
__m256 _ZGVdN8v_atanhf(__m256);
}

namespace oxl::bench::peers {
namespace avx2 {
#include "support/vector_loops-inl.h"
}  // namespace avx2

void LibmvecExpAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_exp>(n, a, r); }
void LibmvecExpAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_expf>(n, a, r); }
void LibmvecExpm1Avx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_expm1>(n, a, r); }
void LibmvecExpm1Avx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_expm1f>(n, a, r); }
void LibmvecLogAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_log>(n, a, r); }
void LibmvecLogAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_logf>(n, a, r); }
void LibmvecLog10Avx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_log10>(n, a, r); }
void LibmvecLog10Avx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_log10f>(n, a, r); }
void LibmvecLog1pAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_log1p>(n, a, r); }
void LibmvecLog1pAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_log1pf>(n, a, r); }
void LibmvecSinAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_sin>(n, a, r); }
void LibmvecSinAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_sinf>(n, a, r); }
void LibmvecCosAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_cos>(n, a, r); }
void LibmvecTanAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_tan>(n, a, r); }
void LibmvecTanAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_tanf>(n, a, r); }
void LibmvecCosAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_cosf>(n, a, r); }
void LibmvecPowAvx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<_ZGVdN4vv_pow>(n, a, b, r);
}
void LibmvecPowAvx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<_ZGVdN8vv_powf>(n, a, b, r);
}
void LibmvecHypotAvx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<_ZGVdN4vv_hypot>(n, a, b, r);
}
void LibmvecHypotAvx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<_ZGVdN8vv_hypotf>(n, a, b, r);
}
void LibmvecCbrtAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_cbrt>(n, a, r); }
void LibmvecCbrtAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_cbrtf>(n, a, r); }
void LibmvecErfAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_erf>(n, a, r); }
void LibmvecErfAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_erff>(n, a, r); }
void LibmvecErfcAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_erfc>(n, a, r); }
void LibmvecErfcAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_erfcf>(n, a, r); }
void LibmvecAtanAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_atan>(n, a, r); }
void LibmvecAtanAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_atanf>(n, a, r); }
void LibmvecAtan2Avx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<_ZGVdN4vv_atan2>(n, a, b, r);
}
void LibmvecAtan2Avx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<_ZGVdN8vv_atan2f>(n, a, b, r);
}
void LibmvecAsinAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_asin>(n, a, r); }
void LibmvecAsinAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_asinf>(n, a, r); }
void LibmvecAcosAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_acos>(n, a, r); }
void LibmvecAcosAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_acosf>(n, a, r); }
void LibmvecSinhAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_sinh>(n, a, r); }
void LibmvecSinhAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_sinhf>(n, a, r); }
void LibmvecCoshAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_cosh>(n, a, r); }
void LibmvecCoshAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_coshf>(n, a, r); }
void LibmvecTanhAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_tanh>(n, a, r); }
void LibmvecTanhAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_tanhf>(n, a, r); }
void LibmvecAsinhAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_asinh>(n, a, r); }
void LibmvecAsinhAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_asinhf>(n, a, r); }
void LibmvecAcoshAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_acosh>(n, a, r); }
void LibmvecAcoshAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_acoshf>(n, a, r); }
void LibmvecAtanhAvx2(int n, const double* a, double* r) { avx2::Map<_ZGVdN4v_atanh>(n, a, r); }
void LibmvecAtanhAvx2(int n, const float* a, float* r) { avx2::Map<_ZGVdN8v_atanhf>(n, a, r); }

}  // namespace oxl::bench::peers

#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx512f")

extern "C" {
__m512d _ZGVeN8v_exp(__m512d);
__m512 _ZGVeN16v_expf(__m512);
__m512d _ZGVeN8v_expm1(__m512d);
__m512 _ZGVeN16v_expm1f(__m512);
__m512d _ZGVeN8v_log(__m512d);
__m512 _ZGVeN16v_logf(__m512);
__m512d _ZGVeN8v_log10(__m512d);
__m512 _ZGVeN16v_log10f(__m512);
__m512d _ZGVeN8v_log1p(__m512d);
__m512 _ZGVeN16v_log1pf(__m512);
__m512d _ZGVeN8v_sin(__m512d);
__m512 _ZGVeN16v_sinf(__m512);
__m512d _ZGVeN8v_cos(__m512d);
__m512 _ZGVeN16v_cosf(__m512);
__m512d _ZGVeN8vv_pow(__m512d, __m512d);
__m512 _ZGVeN16vv_powf(__m512, __m512);
__m512d _ZGVeN8vv_hypot(__m512d, __m512d);
__m512 _ZGVeN16vv_hypotf(__m512, __m512);
__m512d _ZGVeN8v_cbrt(__m512d);
__m512 _ZGVeN16v_cbrtf(__m512);
__m512d _ZGVeN8v_sinh(__m512d);
__m512 _ZGVeN16v_sinhf(__m512);
__m512d _ZGVeN8v_cosh(__m512d);
__m512 _ZGVeN16v_coshf(__m512);
__m512d _ZGVeN8v_tanh(__m512d);
__m512 _ZGVeN16v_tanhf(__m512);
}

namespace oxl::bench::peers {
namespace avx512 {
#include "support/vector_loops-inl.h"
}  // namespace avx512

void LibmvecExpAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_exp>(n, a, r); }
void LibmvecExpAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_expf>(n, a, r); }
void LibmvecExpm1Avx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_expm1>(n, a, r); }
void LibmvecExpm1Avx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_expm1f>(n, a, r); }
void LibmvecLogAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_log>(n, a, r); }
void LibmvecLogAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_logf>(n, a, r); }
void LibmvecLog10Avx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_log10>(n, a, r); }
void LibmvecLog10Avx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_log10f>(n, a, r); }
void LibmvecLog1pAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_log1p>(n, a, r); }
void LibmvecLog1pAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_log1pf>(n, a, r); }
void LibmvecSinAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_sin>(n, a, r); }
void LibmvecSinAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_sinf>(n, a, r); }
void LibmvecCosAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_cos>(n, a, r); }
void LibmvecCosAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_cosf>(n, a, r); }
void LibmvecPowAvx512(int n, const double* a, const double* b, double* r) {
  avx512::Map<_ZGVeN8vv_pow>(n, a, b, r);
}
void LibmvecPowAvx512(int n, const float* a, const float* b, float* r) {
  avx512::Map<_ZGVeN16vv_powf>(n, a, b, r);
}
void LibmvecHypotAvx512(int n, const double* a, const double* b, double* r) {
  avx512::Map<_ZGVeN8vv_hypot>(n, a, b, r);
}
void LibmvecHypotAvx512(int n, const float* a, const float* b, float* r) {
  avx512::Map<_ZGVeN16vv_hypotf>(n, a, b, r);
}
void LibmvecCbrtAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_cbrt>(n, a, r); }
void LibmvecCbrtAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_cbrtf>(n, a, r); }
void LibmvecSinhAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_sinh>(n, a, r); }
void LibmvecSinhAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_sinhf>(n, a, r); }
void LibmvecCoshAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_cosh>(n, a, r); }
void LibmvecCoshAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_coshf>(n, a, r); }
void LibmvecTanhAvx512(int n, const double* a, double* r) { avx512::Map<_ZGVeN8v_tanh>(n, a, r); }
void LibmvecTanhAvx512(int n, const float* a, float* r) { avx512::Map<_ZGVeN16v_tanhf>(n, a, r); }

}  // namespace oxl::bench::peers

#pragma GCC pop_options

namespace oxl::bench::peers {

std::string LibmvecVersion() { return std::string("glibc ") + gnu_get_libc_version(); }

}  // namespace oxl::bench::peers
