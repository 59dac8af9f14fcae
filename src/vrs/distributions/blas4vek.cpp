// Triangular multiplies for the multivariate Gaussian.
//
// The full form for large matrices is the distribution's BLAS. The sequential full form and the
// packed form (which BLAS lacks: it has only the packed matrix-vector product) are one loop over
// an accessor of the stored triangle: short columns, as the small dimensions of the generator
// give them, gain nothing from BLAS's blocking, and this loop starts no threads and gives the same
// bits on every processor.
#include <cctype>
#include <cstdint>

#include "oxl/platform.h"

extern "C" {
void dtrmm_(const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
            const int* n, const double* alpha, const double* a, const int* lda, double* b,
            const int* ldb);
void strmm_(const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
            const int* n, const float* alpha, const float* a, const int* lda, float* b,
            const int* ldb);
}

namespace {

struct Letters {
  bool valid;
  bool left;
  bool op_upper;  // op(A) is upper triangular
  bool transposed;
  bool unit;
};

Letters Read(const char* side, const char* uplo, const char* transa, const char* diag) {
  const int s = std::toupper(static_cast<unsigned char>(*side));
  const int u = std::toupper(static_cast<unsigned char>(*uplo));
  const int t = std::toupper(static_cast<unsigned char>(*transa));
  const int d = std::toupper(static_cast<unsigned char>(*diag));
  Letters l{};
  l.valid = (s == 'L' || s == 'R') && (u == 'U' || u == 'L') &&
            (t == 'N' || t == 'T' || t == 'C') && (d == 'U' || d == 'N');
  l.left = s == 'L';
  l.transposed = t != 'N';
  l.op_upper = (u == 'U') != l.transposed;
  l.unit = d == 'U';
  return l;
}

// A(i, j) of a column-major matrix, and of a triangle packed by columns.
template <class T>
struct Full {
  const T* a;
  int64_t lda;
  T operator()(int64_t i, int64_t j) const { return a[i + j * lda]; }
};
template <class T>
struct Packed {
  const T* ap;
  int64_t order;
  bool upper;
  T operator()(int64_t i, int64_t j) const {
    return upper ? ap[i + j * (j + 1) / 2] : ap[i - j + j * (2 * order - j + 1) / 2];
  }
};

// B := alpha op(A) B or alpha B op(A), in place: each new element needs only elements of its
// column (row) that are still unchanged when the loop runs toward the triangle's wide end.
template <class T, class Access>
void Trmm(const Letters& l, int m, int n, T alpha, const Access& stored, T* b, int64_t ldb) {
  const auto op = [&](int64_t i, int64_t j) { return l.transposed ? stored(j, i) : stored(i, j); };
  if (alpha == T(0)) {
    for (int64_t c = 0; c < n; ++c) {
      for (int64_t i = 0; i < m; ++i) b[i + c * ldb] = T(0);
    }
    return;
  }
  if (l.left) {
    for (int64_t c = 0; c < n; ++c) {
      T* x = b + c * ldb;
      for (int64_t step = 0; step < m; ++step) {
        const int64_t i = l.op_upper ? step : m - 1 - step;
        T sum = l.unit ? x[i] : op(i, i) * x[i];
        if (l.op_upper) {
          for (int64_t k = i + 1; k < m; ++k) sum += op(i, k) * x[k];
        } else {
          for (int64_t k = 0; k < i; ++k) sum += op(i, k) * x[k];
        }
        x[i] = alpha * sum;
      }
    }
  } else {
    for (int64_t row = 0; row < m; ++row) {
      T* y = b + row;
      for (int64_t step = 0; step < n; ++step) {
        const int64_t j = l.op_upper ? n - 1 - step : step;
        T sum = l.unit ? y[j * ldb] : y[j * ldb] * op(j, j);
        if (l.op_upper) {
          for (int64_t k = 0; k < j; ++k) sum += y[k * ldb] * op(k, j);
        } else {
          for (int64_t k = j + 1; k < n; ++k) sum += y[k * ldb] * op(k, j);
        }
        y[j * ldb] = alpha * sum;
      }
    }
  }
}

bool Usable(const Letters& l, int m, int n, int lda, int ldb) {
  const int rows_a = l.left ? m : n;
  return l.valid && m >= 0 && n >= 0 && lda >= (rows_a > 1 ? rows_a : 1) && ldb >= (m > 1 ? m : 1);
}

}  // namespace

extern "C" {

// BLAS reports bad arguments by printing through its error handler; here they do nothing.
OXL_API void oxl_blas4vek_dtrmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n, const double* alpha,
                                const double* a, const int* lda, double* b, const int* ldb) {
  if (!Usable(Read(side, uplo, transa, diag), *m, *n, *lda, *ldb)) return;
  dtrmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
OXL_API void oxl_blas4vek_strmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n, const float* alpha,
                                const float* a, const int* lda, float* b, const int* ldb) {
  if (!Usable(Read(side, uplo, transa, diag), *m, *n, *lda, *ldb)) return;
  strmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

OXL_API void oxl_blas_xdtrmm_4vek(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n, const double* alpha,
                                  const double* a, const int* lda, double* b, const int* ldb) {
  const Letters l = Read(side, uplo, transa, diag);
  if (!Usable(l, *m, *n, *lda, *ldb)) return;
  Trmm(l, *m, *n, *alpha, Full<double>{a, *lda}, b, *ldb);
}
OXL_API void oxl_blas_xstrmm_4vek(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n, const float* alpha,
                                  const float* a, const int* lda, float* b, const int* ldb) {
  const Letters l = Read(side, uplo, transa, diag);
  if (!Usable(l, *m, *n, *lda, *ldb)) return;
  Trmm(l, *m, *n, *alpha, Full<float>{a, *lda}, b, *ldb);
}

OXL_API void oxl_blas4vek_dptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n, const double* alpha,
                                 const double* ap, double* b, const int* ldb) {
  const Letters l = Read(side, uplo, transa, diag);
  const int order = l.left ? *m : *n;
  if (!Usable(l, *m, *n, order > 1 ? order : 1, *ldb)) return;
  const bool upper = l.op_upper != l.transposed;
  Trmm(l, *m, *n, *alpha, Packed<double>{ap, order, upper}, b, *ldb);
}
OXL_API void oxl_blas4vek_sptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n, const float* alpha,
                                 const float* ap, float* b, const int* ldb) {
  const Letters l = Read(side, uplo, transa, diag);
  const int order = l.left ? *m : *n;
  if (!Usable(l, *m, *n, order > 1 ? order : 1, *ldb)) return;
  const bool upper = l.op_upper != l.transposed;
  Trmm(l, *m, *n, *alpha, Packed<float>{ap, order, upper}, b, *ldb);
}

}  // extern "C"
