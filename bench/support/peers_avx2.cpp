// Plain AVX2 loops: the intrinsic add and multiply a load-operate-store kernel is held to, and the
// copy loops that bound every kernel by memory bandwidth.
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
