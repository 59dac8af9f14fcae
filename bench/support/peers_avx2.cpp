// Plain AVX2 loops: the intrinsic add, multiply, divide and square root a load-operate-store kernel
// is held to, and the copy loops that bound every kernel by memory bandwidth.
#include <immintrin.h>

#include "support/peers.h"

#pragma GCC push_options
#pragma GCC target("avx2,fma")

namespace oxl::bench::peers {
namespace avx2 {
#include "support/vector_loops-inl.h"

// The operations of the loops, named after their instructions.
inline __m256d MovPd(__m256d v) { return v; }
inline __m256 MovPs(__m256 v) { return v; }
inline __m256d OrPd(__m256d x, __m256d y) { return _mm256_or_pd(x, y); }
inline __m256 OrPs(__m256 x, __m256 y) { return _mm256_or_ps(x, y); }
inline __m256d AddPd(__m256d x, __m256d y) { return _mm256_add_pd(x, y); }
inline __m256 AddPs(__m256 x, __m256 y) { return _mm256_add_ps(x, y); }
inline __m256d MulPd(__m256d x, __m256d y) { return _mm256_mul_pd(x, y); }
inline __m256 MulPs(__m256 x, __m256 y) { return _mm256_mul_ps(x, y); }
inline __m256d DivPd(__m256d x, __m256d y) { return _mm256_div_pd(x, y); }
inline __m256 DivPs(__m256 x, __m256 y) { return _mm256_div_ps(x, y); }
inline __m256d SqrtPd(__m256d x) { return _mm256_sqrt_pd(x); }
inline __m256 SqrtPs(__m256 x) { return _mm256_sqrt_ps(x); }
inline __m256d InvPd(__m256d x) { return _mm256_div_pd(_mm256_set1_pd(1.0), x); }
inline __m256 InvPs(__m256 x) { return _mm256_div_ps(_mm256_set1_ps(1.0f), x); }
inline __m256d InvSqrtPd(__m256d x) { return InvPd(SqrtPd(x)); }
inline __m256 InvSqrtPs(__m256 x) { return InvPs(SqrtPs(x)); }

}  // namespace avx2

void Avx2Add(int n, const double* a, const double* b, double* r) {
  avx2::Map<avx2::AddPd>(n, a, b, r);
}
void Avx2Add(int n, const float* a, const float* b, float* r) {
  avx2::Map<avx2::AddPs>(n, a, b, r);
}
void Avx2Mul(int n, const double* a, const double* b, double* r) {
  avx2::Map<avx2::MulPd>(n, a, b, r);
}
void Avx2Mul(int n, const float* a, const float* b, float* r) {
  avx2::Map<avx2::MulPs>(n, a, b, r);
}
void Avx2Div(int n, const double* a, const double* b, double* r) {
  avx2::Map<avx2::DivPd>(n, a, b, r);
}
void Avx2Div(int n, const float* a, const float* b, float* r) {
  avx2::Map<avx2::DivPs>(n, a, b, r);
}
void Avx2Sqrt(int n, const double* a, double* r) { avx2::Map<avx2::SqrtPd>(n, a, r); }
void Avx2Sqrt(int n, const float* a, float* r) { avx2::Map<avx2::SqrtPs>(n, a, r); }
void Avx2Inv(int n, const double* a, double* r) { avx2::Map<avx2::InvPd>(n, a, r); }
void Avx2Inv(int n, const float* a, float* r) { avx2::Map<avx2::InvPs>(n, a, r); }
void Avx2InvSqrt(int n, const double* a, double* r) { avx2::Map<avx2::InvSqrtPd>(n, a, r); }
void Avx2InvSqrt(int n, const float* a, float* r) { avx2::Map<avx2::InvSqrtPs>(n, a, r); }
void CopyLoop(int n, const double* a, double* r) { avx2::Map<avx2::MovPd>(n, a, r); }
void CopyLoop(int n, const float* a, float* r) { avx2::Map<avx2::MovPs>(n, a, r); }
void CopyLoop2(int n, const double* a, const double* b, double* r) {
  avx2::Map<avx2::OrPd>(n, a, b, r);
}
void CopyLoop2(int n, const float* a, const float* b, float* r) {
  avx2::Map<avx2::OrPs>(n, a, b, r);
}

}  // namespace oxl::bench::peers

#pragma GCC pop_options
