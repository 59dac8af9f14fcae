// SLEEF peers. sleef.h declares its AVX2 and AVX-512 entry points only when the whole translation
// unit is compiled for those instruction sets, which would let the compiler put AVX-512 code into
// shared inline functions; so the entry points used here are declared by hand, in the regions
// compiled for their instruction sets, from the lists in peers.h (Sleef_expd4_u10avx2,
// Sleef_expf8_u10avx2, Sleef_expd8_u10avx512f, Sleef_expf16_u10avx512f for one entry).
#include <immintrin.h>

#include "support/peers.h"

#pragma GCC push_options
#pragma GCC target("avx2,fma")

#define OXL_DECLARE_UNARY(Name, name, u)       \
  __m256d Sleef_##name##d4_##u##avx2(__m256d); \
  __m256 Sleef_##name##f8_##u##avx2(__m256);
#define OXL_DECLARE_BINARY(Name, name, u)               \
  __m256d Sleef_##name##d4_##u##avx2(__m256d, __m256d); \
  __m256 Sleef_##name##f8_##u##avx2(__m256, __m256);
extern "C" {
OXL_BENCH_SLEEF_UNARY(OXL_DECLARE_UNARY)
OXL_BENCH_SLEEF_BINARY(OXL_DECLARE_BINARY)
}
#undef OXL_DECLARE_UNARY
#undef OXL_DECLARE_BINARY

namespace oxl::bench::peers {
namespace avx2 {
#include "support/vector_loops-inl.h"
}  // namespace avx2

#define OXL_DEFINE_UNARY(Name, name, u)                       \
  void Sleef##Name##Avx2(int n, const double* a, double* r) { \
    avx2::Map<Sleef_##name##d4_##u##avx2>(n, a, r);           \
  }                                                           \
  void Sleef##Name##Avx2(int n, const float* a, float* r) {   \
    avx2::Map<Sleef_##name##f8_##u##avx2>(n, a, r);           \
  }
#define OXL_DEFINE_BINARY(Name, name, u)                                       \
  void Sleef##Name##Avx2(int n, const double* a, const double* b, double* r) { \
    avx2::Map<Sleef_##name##d4_##u##avx2>(n, a, b, r);                         \
  }                                                                            \
  void Sleef##Name##Avx2(int n, const float* a, const float* b, float* r) {    \
    avx2::Map<Sleef_##name##f8_##u##avx2>(n, a, b, r);                         \
  }
OXL_BENCH_SLEEF_UNARY(OXL_DEFINE_UNARY)
OXL_BENCH_SLEEF_BINARY(OXL_DEFINE_BINARY)
#undef OXL_DEFINE_UNARY
#undef OXL_DEFINE_BINARY

}  // namespace oxl::bench::peers

#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx512f")

#define OXL_DECLARE_UNARY(Name, name, u)          \
  __m512d Sleef_##name##d8_##u##avx512f(__m512d); \
  __m512 Sleef_##name##f16_##u##avx512f(__m512);
#define OXL_DECLARE_BINARY(Name, name, u)                  \
  __m512d Sleef_##name##d8_##u##avx512f(__m512d, __m512d); \
  __m512 Sleef_##name##f16_##u##avx512f(__m512, __m512);
extern "C" {
OXL_BENCH_SLEEF_UNARY(OXL_DECLARE_UNARY)
OXL_BENCH_SLEEF_BINARY(OXL_DECLARE_BINARY)
}
#undef OXL_DECLARE_UNARY
#undef OXL_DECLARE_BINARY

namespace oxl::bench::peers {
namespace avx512 {
#include "support/vector_loops-inl.h"
}  // namespace avx512

#define OXL_DEFINE_UNARY(Name, name, u)                         \
  void Sleef##Name##Avx512(int n, const double* a, double* r) { \
    avx512::Map<Sleef_##name##d8_##u##avx512f>(n, a, r);        \
  }                                                             \
  void Sleef##Name##Avx512(int n, const float* a, float* r) {   \
    avx512::Map<Sleef_##name##f16_##u##avx512f>(n, a, r);       \
  }
#define OXL_DEFINE_BINARY(Name, name, u)                                         \
  void Sleef##Name##Avx512(int n, const double* a, const double* b, double* r) { \
    avx512::Map<Sleef_##name##d8_##u##avx512f>(n, a, b, r);                      \
  }                                                                              \
  void Sleef##Name##Avx512(int n, const float* a, const float* b, float* r) {    \
    avx512::Map<Sleef_##name##f16_##u##avx512f>(n, a, b, r);                     \
  }
OXL_BENCH_SLEEF_UNARY(OXL_DEFINE_UNARY)
OXL_BENCH_SLEEF_BINARY(OXL_DEFINE_BINARY)
#undef OXL_DEFINE_UNARY
#undef OXL_DEFINE_BINARY

}  // namespace oxl::bench::peers

#pragma GCC pop_options

namespace oxl::bench::peers {

std::string SleefVersion() { return "SLEEF " OXL_BENCH_SLEEF_VERSION; }

}  // namespace oxl::bench::peers
