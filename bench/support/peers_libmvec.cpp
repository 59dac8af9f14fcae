// glibc libmvec peers. libmvec has no header of its own: math.h announces the vector entry points
// only to a vectorizing compiler under -ffast-math. So they are declared here, by their names in
// the x86-64 vector function ABI ('d': AVX2, 'e': AVX-512; N<lanes>; 'v' per vector argument),
// from the lists in peers.h: each entry gives a function at both widths and both precisions.
#include <gnu/libc-version.h>
#include <immintrin.h>

#include "support/peers.h"

#pragma GCC push_options
#pragma GCC target("avx2,fma")

#define OXL_DECLARE_UNARY(Name, name) \
  __m256d _ZGVdN4v_##name(__m256d);   \
  __m256 _ZGVdN8v_##name##f(__m256);
#define OXL_DECLARE_BINARY(Name, name)        \
  __m256d _ZGVdN4vv_##name(__m256d, __m256d); \
  __m256 _ZGVdN8vv_##name##f(__m256, __m256);
extern "C" {
OXL_BENCH_LIBMVEC_UNARY(OXL_DECLARE_UNARY)
OXL_BENCH_LIBMVEC_BINARY(OXL_DECLARE_BINARY)
}
#undef OXL_DECLARE_UNARY
#undef OXL_DECLARE_BINARY

namespace oxl::bench::peers {
namespace avx2 {
#include "support/vector_loops-inl.h"
}  // namespace avx2

#define OXL_DEFINE_UNARY(Name, name)                            \
  void Libmvec##Name##Avx2(int n, const double* a, double* r) { \
    avx2::Map<_ZGVdN4v_##name>(n, a, r);                        \
  }                                                             \
  void Libmvec##Name##Avx2(int n, const float* a, float* r) {   \
    avx2::Map<_ZGVdN8v_##name##f>(n, a, r);                     \
  }
#define OXL_DEFINE_BINARY(Name, name)                                            \
  void Libmvec##Name##Avx2(int n, const double* a, const double* b, double* r) { \
    avx2::Map<_ZGVdN4vv_##name>(n, a, b, r);                                     \
  }                                                                              \
  void Libmvec##Name##Avx2(int n, const float* a, const float* b, float* r) {    \
    avx2::Map<_ZGVdN8vv_##name##f>(n, a, b, r);                                  \
  }
OXL_BENCH_LIBMVEC_UNARY(OXL_DEFINE_UNARY)
OXL_BENCH_LIBMVEC_BINARY(OXL_DEFINE_BINARY)
#undef OXL_DEFINE_UNARY
#undef OXL_DEFINE_BINARY

}  // namespace oxl::bench::peers

#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx512f")

#define OXL_DECLARE_UNARY(Name, name) \
  __m512d _ZGVeN8v_##name(__m512d);   \
  __m512 _ZGVeN16v_##name##f(__m512);
#define OXL_DECLARE_BINARY(Name, name)        \
  __m512d _ZGVeN8vv_##name(__m512d, __m512d); \
  __m512 _ZGVeN16vv_##name##f(__m512, __m512);
extern "C" {
OXL_BENCH_LIBMVEC_UNARY(OXL_DECLARE_UNARY)
OXL_BENCH_LIBMVEC_BINARY(OXL_DECLARE_BINARY)
}
#undef OXL_DECLARE_UNARY
#undef OXL_DECLARE_BINARY

namespace oxl::bench::peers {
namespace avx512 {
#include "support/vector_loops-inl.h"
}  // namespace avx512

#define OXL_DEFINE_UNARY(Name, name)                              \
  void Libmvec##Name##Avx512(int n, const double* a, double* r) { \
    avx512::Map<_ZGVeN8v_##name>(n, a, r);                        \
  }                                                               \
  void Libmvec##Name##Avx512(int n, const float* a, float* r) {   \
    avx512::Map<_ZGVeN16v_##name##f>(n, a, r);                    \
  }
#define OXL_DEFINE_BINARY(Name, name)                                              \
  void Libmvec##Name##Avx512(int n, const double* a, const double* b, double* r) { \
    avx512::Map<_ZGVeN8vv_##name>(n, a, b, r);                                     \
  }                                                                                \
  void Libmvec##Name##Avx512(int n, const float* a, const float* b, float* r) {    \
    avx512::Map<_ZGVeN16vv_##name##f>(n, a, b, r);                                 \
  }
OXL_BENCH_LIBMVEC_UNARY(OXL_DEFINE_UNARY)
OXL_BENCH_LIBMVEC_BINARY(OXL_DEFINE_BINARY)
#undef OXL_DEFINE_UNARY
#undef OXL_DEFINE_BINARY

}  // namespace oxl::bench::peers

#pragma GCC pop_options

namespace oxl::bench::peers {

std::string LibmvecVersion() { return std::string("glibc ") + gnu_get_libc_version(); }

}  // namespace oxl::bench::peers
