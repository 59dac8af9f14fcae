// Multivariate Gaussian vectors: unit normals for the components, then each vector multiplied by
// the triangular factor in place and displaced by the mean. Small dimensions run by blocks of
// vectors that stay in the first cache level, the full factor through the vector pass that
// multiplies several vectors at once.
//
// The n vectors of dimen components lie one after the other, which is a column-major matrix of
// dimen rows and n columns, so one triangular multiply from the left does them all. That multiply
// reads its matrix by columns: a lower-triangular factor stored by rows is, to it, the upper
// triangle transposed, hence "U" with "T" for the full storage.
#include <algorithm>
#include <cstdint>

#include "oxl/platform.h"
#include "vrs/distributions/frame.h"

using namespace oxl::vrs::dist;

namespace {

// Elements of the repeating pattern of the mean for small dimensions: floor(32 / dimen) vectors.
constexpr int32_t kPatternElements = 32;

struct Blas {
  static void Trmm(const char* s, const char* u, const char* t, const char* d, const int* m,
                   const int* n, const double* alpha, const double* a, const int* lda, double* b,
                   const int* ldb) {
    oxl_blas4vek_dtrmm(s, u, t, d, m, n, alpha, a, lda, b, ldb);
  }
  static void Trmm(const char* s, const char* u, const char* t, const char* d, const int* m,
                   const int* n, const float* alpha, const float* a, const int* lda, float* b,
                   const int* ldb) {
    oxl_blas4vek_strmm(s, u, t, d, m, n, alpha, a, lda, b, ldb);
  }
  static void Ptrmm(const char* s, const char* u, const char* t, const char* d, const int* m,
                    const int* n, const double* alpha, const double* ap, double* b,
                    const int* ldb) {
    oxl_blas4vek_dptrmm(s, u, t, d, m, n, alpha, ap, b, ldb);
  }
  static void Ptrmm(const char* s, const char* u, const char* t, const char* d, const int* m,
                    const int* n, const float* alpha, const float* ap, float* b, const int* ldb) {
    oxl_blas4vek_sptrmm(s, u, t, d, m, n, alpha, ap, b, ldb);
  }
};

// r[k] = fma(scale[j], r[k], a[j]) or r[k] + a[j], j the component of element k. Small
// dimensions repeat the vector's pattern floor(32 / dimen) times, so that one row of the pass
// covers several vectors.
template <class T>
void Displace(T* r, int64_t total, int32_t dimen, const T* scale, const T* a) {
  const auto& passes = PassesFor<T>();
  if (dimen > kSmallDimension) {
    passes.periodic(r, total, scale, a, dimen);
    return;
  }
  T scale_pattern[kPatternElements];
  T shift_pattern[kPatternElements];
  const int32_t period = kPatternElements / dimen * dimen;
  for (int32_t k = 0; k < period; ++k) {
    shift_pattern[k] = a[k % dimen];
    if (scale) scale_pattern[k] = scale[k % dimen];
  }
  passes.periodic(r, total, scale ? scale_pattern : nullptr, shift_pattern, period);
}

// n vectors whose unit normals are drawn: each multiplied by the factor and displaced.
template <class T>
void Transform(T* r, int32_t n, int32_t dimen, int32_t mstorage, const T* a, const T* t) {
  const T one = T(1);
  const int m = dimen;
  const int columns = n;
  switch (mstorage) {
    case MatrixFull:
      if (dimen <= kSmallDimension) {
        PassesFor<T>().lower_multiply(r, n, dimen, t, a);
        return;
      }
      Blas::Trmm("L", "U", "T", "N", &m, &columns, &one, t, &m, r, &m);
      break;
    case MatrixPacked:
      Blas::Ptrmm("L", "L", "N", "N", &m, &columns, &one, t, r, &m);
      break;
    case MatrixDiagonal:
      Displace(r, int64_t{n} * dimen, dimen, t, a);
      return;
    default:
      return;
  }
  Displace<T>(r, int64_t{n} * dimen, dimen, nullptr, a);
}

// Components per block of the small dimensions: the normals, the multiply and the displacement
// of a block run while it is in the first cache level. The Gaussian methods give the same numbers
// however a request is split.
constexpr int32_t kBlockComponents = 2048;

template <class T>
int32_t GaussianMV(int32_t method, StreamRecord* s, int32_t n, T* r, int32_t dimen,
                   int32_t mstorage, const T* a, const T* t) {
  if (dimen == 1) return Gaussian(method, s, n, r, a[0], t[0]);
  // Nothing to draw; the method is still checked.
  if (n <= 0 || dimen <= 0) return Gaussian(method, s, 0, r, T(0), T(1));
  // The normals are drawn by requests of a 32-bit count, as every generator takes; more
  // components than one request holds are refused before anything is drawn or written.
  const int64_t wide_total = int64_t{n} * dimen;
  if (wide_total > INT32_MAX) return StatusBadArgs;
  // Large dimensions go through the distribution's BLAS at once.
  const int32_t block = dimen <= kSmallDimension ? kBlockComponents / dimen : n;
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += block) {
    const int32_t vectors = std::min(block, n - done);
    T* v = r + int64_t{done} * dimen;
    status = Gaussian(method, s, vectors * dimen, v, T(0), T(1));
    if (status < 0) return status;
    Transform(v, vectors, dimen, mstorage, a, t);
  }
  return status;
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsdRngGaussianMV(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                   int32_t dimen, int32_t mstorage, const double* a,
                                   const double* t) {
  return GaussianMV(method, stream, n, r, dimen, mstorage, a, t);
}
OXL_API int32_t _vrssRngGaussianMV(int32_t method, StreamRecord* stream, int32_t n, float* r,
                                   int32_t dimen, int32_t mstorage, const float* a,
                                   const float* t) {
  return GaussianMV(method, stream, n, r, dimen, mstorage, a, t);
}

}  // extern "C"
