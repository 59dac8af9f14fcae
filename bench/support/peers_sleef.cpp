// SLEEF peers. sleef.h declares its AVX2 and AVX-512 entry points only when the whole translation
// unit is compiled for those instruction sets, which would let the compiler put AVX-512 code into
// shared inline functions; so the few entry points used here are declared by hand, in the regions
// compiled for their instruction sets.
#include <immintrin.h>

#include "support/peers.h"

#pragma GCC push_options
#pragma GCC target("avx2,fma")

extern "C" {
__m256d Sleef_expd4_u10avx2(__m256d);
__m256 Sleef_expf8_u10avx2(__m256);
__m256d Sleef_expm1d4_u10avx2(__m256d);
__m256 Sleef_expm1f8_u10avx2(__m256);
__m256d Sleef_logd4_u10avx2(__m256d);
__m256 Sleef_logf8_u10avx2(__m256);
__m256d Sleef_logd4_u35avx2(__m256d);
__m256 Sleef_logf8_u35avx2(__m256);
__m256d Sleef_log10d4_u10avx2(__m256d);
__m256 Sleef_log10f8_u10avx2(__m256);
__m256d Sleef_log1pd4_u10avx2(__m256d);
__m256 Sleef_log1pf8_u10avx2(__m256);
__m256d Sleef_sind4_u10avx2(__m256d);
__m256 Sleef_sinf8_u10avx2(__m256);
__m256d Sleef_sind4_u35avx2(__m256d);
__m256 Sleef_sinf8_u35avx2(__m256);
__m256d Sleef_cosd4_u10avx2(__m256d);
__m256d Sleef_tand4_u10avx2(__m256d);
__m256 Sleef_tanf8_u10avx2(__m256);
__m256d Sleef_tand4_u35avx2(__m256d);
__m256 Sleef_tanf8_u35avx2(__m256);
__m256 Sleef_cosf8_u10avx2(__m256);
__m256d Sleef_cosd4_u35avx2(__m256d);
__m256 Sleef_cosf8_u35avx2(__m256);
__m256d Sleef_powd4_u10avx2(__m256d, __m256d);
__m256 Sleef_powf8_u10avx2(__m256, __m256);
__m256d Sleef_hypotd4_u05avx2(__m256d, __m256d);
__m256 Sleef_hypotf8_u05avx2(__m256, __m256);
__m256d Sleef_cbrtd4_u10avx2(__m256d);
__m256 Sleef_cbrtf8_u10avx2(__m256);
__m256d Sleef_erfd4_u10avx2(__m256d);
__m256 Sleef_erff8_u10avx2(__m256);
__m256d Sleef_erfcd4_u15avx2(__m256d);
__m256 Sleef_erfcf8_u15avx2(__m256);
__m256d Sleef_atand4_u10avx2(__m256d);
__m256 Sleef_atanf8_u10avx2(__m256);
__m256d Sleef_atand4_u35avx2(__m256d);
__m256 Sleef_atanf8_u35avx2(__m256);
__m256d Sleef_asind4_u10avx2(__m256d);
__m256 Sleef_asinf8_u10avx2(__m256);
__m256d Sleef_asind4_u35avx2(__m256d);
__m256 Sleef_asinf8_u35avx2(__m256);
__m256d Sleef_acosd4_u10avx2(__m256d);
__m256 Sleef_acosf8_u10avx2(__m256);
__m256d Sleef_acosd4_u35avx2(__m256d);
__m256 Sleef_acosf8_u35avx2(__m256);
__m256d Sleef_atan2d4_u10avx2(__m256d, __m256d);
__m256 Sleef_atan2f8_u10avx2(__m256, __m256);
__m256d Sleef_atan2d4_u35avx2(__m256d, __m256d);
__m256 Sleef_atan2f8_u35avx2(__m256, __m256);
// Gamma family.
__m256d Sleef_lgammad4_u10avx2(__m256d);
__m256 Sleef_lgammaf8_u10avx2(__m256);
__m256d Sleef_tgammad4_u10avx2(__m256d);
__m256 Sleef_tgammaf8_u10avx2(__m256);
__m256d Sleef_sinhd4_u10avx2(__m256d);
__m256 Sleef_sinhf8_u10avx2(__m256);
__m256d Sleef_coshd4_u10avx2(__m256d);
__m256 Sleef_coshf8_u10avx2(__m256);
__m256d Sleef_tanhd4_u10avx2(__m256d);
__m256 Sleef_tanhf8_u10avx2(__m256);
__m256d Sleef_asinhd4_u10avx2(__m256d);
__m256 Sleef_asinhf8_u10avx2(__m256);
__m256d Sleef_acoshd4_u10avx2(__m256d);
__m256 Sleef_acoshf8_u10avx2(__m256);
__m256d Sleef_atanhd4_u10avx2(__m256d);
__m256 Sleef_atanhf8_u10avx2(__m256);
__m256d Sleef_sinhd4_u35avx2(__m256d);
__m256 Sleef_sinhf8_u35avx2(__m256);
__m256d Sleef_coshd4_u35avx2(__m256d);
__m256 Sleef_coshf8_u35avx2(__m256);
__m256d Sleef_tanhd4_u35avx2(__m256d);
__m256 Sleef_tanhf8_u35avx2(__m256);
}

namespace oxl::bench::peers {
namespace avx2 {
#include "support/vector_loops-inl.h"
}  // namespace avx2

void SleefExpU10Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_expd4_u10avx2>(n, a, r); }
void SleefExpU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_expf8_u10avx2>(n, a, r); }
void SleefExpm1U10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_expm1d4_u10avx2>(n, a, r);
}
void SleefExpm1U10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_expm1f8_u10avx2>(n, a, r);
}
void SleefLogU10Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_logd4_u10avx2>(n, a, r); }
void SleefLogU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_logf8_u10avx2>(n, a, r); }
void SleefLogU35Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_logd4_u35avx2>(n, a, r); }
void SleefLogU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_logf8_u35avx2>(n, a, r); }
void SleefLog10U10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_log10d4_u10avx2>(n, a, r);
}
void SleefLog10U10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_log10f8_u10avx2>(n, a, r);
}
void SleefLog1pU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_log1pd4_u10avx2>(n, a, r);
}
void SleefLog1pU10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_log1pf8_u10avx2>(n, a, r);
}
void SleefSinU10Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_sind4_u10avx2>(n, a, r); }
void SleefTanU10Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_tand4_u10avx2>(n, a, r); }
void SleefTanU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_tanf8_u10avx2>(n, a, r); }
void SleefTanU35Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_tand4_u35avx2>(n, a, r); }
void SleefTanU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_tanf8_u35avx2>(n, a, r); }
void SleefSinU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_sinf8_u10avx2>(n, a, r); }
void SleefSinU35Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_sind4_u35avx2>(n, a, r); }
void SleefSinU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_sinf8_u35avx2>(n, a, r); }
void SleefCosU10Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_cosd4_u10avx2>(n, a, r); }
void SleefCosU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_cosf8_u10avx2>(n, a, r); }
void SleefCosU35Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_cosd4_u35avx2>(n, a, r); }
void SleefCosU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_cosf8_u35avx2>(n, a, r); }
void SleefPowU10Avx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<Sleef_powd4_u10avx2>(n, a, b, r);
}
void SleefPowU10Avx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<Sleef_powf8_u10avx2>(n, a, b, r);
}
void SleefHypotU05Avx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<Sleef_hypotd4_u05avx2>(n, a, b, r);
}
void SleefHypotU05Avx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<Sleef_hypotf8_u05avx2>(n, a, b, r);
}
void SleefCbrtU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_cbrtd4_u10avx2>(n, a, r);
}
void SleefCbrtU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_cbrtf8_u10avx2>(n, a, r); }
void SleefErfU10Avx2(int n, const double* a, double* r) { avx2::Map<Sleef_erfd4_u10avx2>(n, a, r); }
void SleefErfU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_erff8_u10avx2>(n, a, r); }
void SleefErfcU15Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_erfcd4_u15avx2>(n, a, r);
}
void SleefErfcU15Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_erfcf8_u15avx2>(n, a, r); }
void SleefAtanU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_atand4_u10avx2>(n, a, r);
}
void SleefAtanU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_atanf8_u10avx2>(n, a, r); }
void SleefAtanU35Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_atand4_u35avx2>(n, a, r);
}
void SleefAtanU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_atanf8_u35avx2>(n, a, r); }
void SleefAsinU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_asind4_u10avx2>(n, a, r);
}
void SleefAsinU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_asinf8_u10avx2>(n, a, r); }
void SleefAsinU35Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_asind4_u35avx2>(n, a, r);
}
void SleefAsinU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_asinf8_u35avx2>(n, a, r); }
void SleefAcosU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_acosd4_u10avx2>(n, a, r);
}
void SleefAcosU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_acosf8_u10avx2>(n, a, r); }
void SleefAcosU35Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_acosd4_u35avx2>(n, a, r);
}
void SleefAcosU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_acosf8_u35avx2>(n, a, r); }
void SleefAtan2U10Avx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<Sleef_atan2d4_u10avx2>(n, a, b, r);
}
void SleefAtan2U10Avx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<Sleef_atan2f8_u10avx2>(n, a, b, r);
}
void SleefAtan2U35Avx2(int n, const double* a, const double* b, double* r) {
  avx2::Map<Sleef_atan2d4_u35avx2>(n, a, b, r);
}
void SleefAtan2U35Avx2(int n, const float* a, const float* b, float* r) {
  avx2::Map<Sleef_atan2f8_u35avx2>(n, a, b, r);
}
// Gamma family.
void SleefLGammaU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_lgammad4_u10avx2>(n, a, r);
}
void SleefLGammaU10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_lgammaf8_u10avx2>(n, a, r);
}
void SleefTGammaU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_tgammad4_u10avx2>(n, a, r);
}
void SleefTGammaU10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_tgammaf8_u10avx2>(n, a, r);
}
void SleefSinhU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_sinhd4_u10avx2>(n, a, r);
}
void SleefSinhU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_sinhf8_u10avx2>(n, a, r); }
void SleefCoshU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_coshd4_u10avx2>(n, a, r);
}
void SleefCoshU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_coshf8_u10avx2>(n, a, r); }
void SleefTanhU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_tanhd4_u10avx2>(n, a, r);
}
void SleefTanhU10Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_tanhf8_u10avx2>(n, a, r); }
void SleefAsinhU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_asinhd4_u10avx2>(n, a, r);
}
void SleefAsinhU10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_asinhf8_u10avx2>(n, a, r);
}
void SleefAcoshU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_acoshd4_u10avx2>(n, a, r);
}
void SleefAcoshU10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_acoshf8_u10avx2>(n, a, r);
}
void SleefAtanhU10Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_atanhd4_u10avx2>(n, a, r);
}
void SleefAtanhU10Avx2(int n, const float* a, float* r) {
  avx2::Map<Sleef_atanhf8_u10avx2>(n, a, r);
}
void SleefSinhU35Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_sinhd4_u35avx2>(n, a, r);
}
void SleefSinhU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_sinhf8_u35avx2>(n, a, r); }
void SleefCoshU35Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_coshd4_u35avx2>(n, a, r);
}
void SleefCoshU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_coshf8_u35avx2>(n, a, r); }
void SleefTanhU35Avx2(int n, const double* a, double* r) {
  avx2::Map<Sleef_tanhd4_u35avx2>(n, a, r);
}
void SleefTanhU35Avx2(int n, const float* a, float* r) { avx2::Map<Sleef_tanhf8_u35avx2>(n, a, r); }

}  // namespace oxl::bench::peers

#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx512f")

extern "C" {
__m512d Sleef_expd8_u10avx512f(__m512d);
__m512 Sleef_expf16_u10avx512f(__m512);
__m512d Sleef_expm1d8_u10avx512f(__m512d);
__m512 Sleef_expm1f16_u10avx512f(__m512);
__m512d Sleef_logd8_u10avx512f(__m512d);
__m512 Sleef_logf16_u10avx512f(__m512);
__m512d Sleef_logd8_u35avx512f(__m512d);
__m512 Sleef_logf16_u35avx512f(__m512);
__m512d Sleef_log10d8_u10avx512f(__m512d);
__m512 Sleef_log10f16_u10avx512f(__m512);
__m512d Sleef_log1pd8_u10avx512f(__m512d);
__m512 Sleef_log1pf16_u10avx512f(__m512);
__m512d Sleef_sind8_u10avx512f(__m512d);
__m512 Sleef_sinf16_u10avx512f(__m512);
__m512d Sleef_sind8_u35avx512f(__m512d);
__m512 Sleef_sinf16_u35avx512f(__m512);
__m512d Sleef_cosd8_u10avx512f(__m512d);
__m512 Sleef_cosf16_u10avx512f(__m512);
__m512d Sleef_cosd8_u35avx512f(__m512d);
__m512 Sleef_cosf16_u35avx512f(__m512);
__m512d Sleef_powd8_u10avx512f(__m512d, __m512d);
__m512 Sleef_powf16_u10avx512f(__m512, __m512);
__m512d Sleef_hypotd8_u05avx512f(__m512d, __m512d);
__m512 Sleef_hypotf16_u05avx512f(__m512, __m512);
__m512d Sleef_cbrtd8_u10avx512f(__m512d);
__m512 Sleef_cbrtf16_u10avx512f(__m512);
__m512d Sleef_sinhd8_u10avx512f(__m512d);
__m512 Sleef_sinhf16_u10avx512f(__m512);
__m512d Sleef_coshd8_u10avx512f(__m512d);
__m512 Sleef_coshf16_u10avx512f(__m512);
__m512d Sleef_tanhd8_u10avx512f(__m512d);
__m512 Sleef_tanhf16_u10avx512f(__m512);
}

namespace oxl::bench::peers {
namespace avx512 {
#include "support/vector_loops-inl.h"
}  // namespace avx512

void SleefExpU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_expd8_u10avx512f>(n, a, r);
}
void SleefExpU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_expf16_u10avx512f>(n, a, r);
}
void SleefExpm1U10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_expm1d8_u10avx512f>(n, a, r);
}
void SleefExpm1U10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_expm1f16_u10avx512f>(n, a, r);
}
void SleefLogU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_logd8_u10avx512f>(n, a, r);
}
void SleefLogU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_logf16_u10avx512f>(n, a, r);
}
void SleefLogU35Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_logd8_u35avx512f>(n, a, r);
}
void SleefLogU35Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_logf16_u35avx512f>(n, a, r);
}
void SleefLog10U10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_log10d8_u10avx512f>(n, a, r);
}
void SleefLog10U10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_log10f16_u10avx512f>(n, a, r);
}
void SleefLog1pU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_log1pd8_u10avx512f>(n, a, r);
}
void SleefLog1pU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_log1pf16_u10avx512f>(n, a, r);
}
void SleefSinU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_sind8_u10avx512f>(n, a, r);
}
void SleefSinU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_sinf16_u10avx512f>(n, a, r);
}
void SleefSinU35Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_sind8_u35avx512f>(n, a, r);
}
void SleefSinU35Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_sinf16_u35avx512f>(n, a, r);
}
void SleefCosU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_cosd8_u10avx512f>(n, a, r);
}
void SleefCosU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_cosf16_u10avx512f>(n, a, r);
}
void SleefCosU35Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_cosd8_u35avx512f>(n, a, r);
}
void SleefCosU35Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_cosf16_u35avx512f>(n, a, r);
}
void SleefPowU10Avx512(int n, const double* a, const double* b, double* r) {
  avx512::Map<Sleef_powd8_u10avx512f>(n, a, b, r);
}
void SleefPowU10Avx512(int n, const float* a, const float* b, float* r) {
  avx512::Map<Sleef_powf16_u10avx512f>(n, a, b, r);
}
void SleefHypotU05Avx512(int n, const double* a, const double* b, double* r) {
  avx512::Map<Sleef_hypotd8_u05avx512f>(n, a, b, r);
}
void SleefHypotU05Avx512(int n, const float* a, const float* b, float* r) {
  avx512::Map<Sleef_hypotf16_u05avx512f>(n, a, b, r);
}
void SleefCbrtU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_cbrtd8_u10avx512f>(n, a, r);
}
void SleefCbrtU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_cbrtf16_u10avx512f>(n, a, r);
}

}  // namespace oxl::bench::peers

#pragma GCC pop_options

namespace oxl::bench::peers {

std::string SleefVersion() { return "SLEEF " OXL_BENCH_SLEEF_VERSION; }

void SleefSinhU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_sinhd8_u10avx512f>(n, a, r);
}
void SleefSinhU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_sinhf16_u10avx512f>(n, a, r);
}
void SleefCoshU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_coshd8_u10avx512f>(n, a, r);
}
void SleefCoshU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_coshf16_u10avx512f>(n, a, r);
}
void SleefTanhU10Avx512(int n, const double* a, double* r) {
  avx512::Map<Sleef_tanhd8_u10avx512f>(n, a, r);
}
void SleefTanhU10Avx512(int n, const float* a, float* r) {
  avx512::Map<Sleef_tanhf16_u10avx512f>(n, a, r);
}

}  // namespace oxl::bench::peers
