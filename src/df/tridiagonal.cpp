// Tridiagonal solve by Gaussian elimination with partial pivoting (Golub and Van Loan, band
// Gaussian elimination). A row exchange fills the second super-diagonal, which is kept in dl as
// the elimination no longer needs the sub-diagonal entry it replaces.
#include <cmath>

#include "oxl/df.h"

namespace {

template <class T>
void SolveTridiagonal(const int64_t* n_ref, const int64_t* nrhs_ref, T* dl, T* d, T* du, T* b,
                      const int64_t* ldb_ref, int64_t* info) {
  const int64_t n = *n_ref;
  const int64_t nrhs = *nrhs_ref;
  const int64_t ldb = *ldb_ref;
  if (n < 0) {
    *info = -1;
    return;
  }
  if (nrhs < 0) {
    *info = -2;
    return;
  }
  if (ldb < (n > 1 ? n : 1)) {
    *info = -7;
    return;
  }
  *info = 0;
  if (n == 0) return;
  for (int64_t i = 0; i + 1 < n; ++i) {
    if (std::fabs(d[i]) >= std::fabs(dl[i])) {
      // No exchange: eliminate dl[i] with row i.
      if (d[i] == T(0)) {
        *info = i + 1;
        return;
      }
      const T factor = dl[i] / d[i];
      d[i + 1] -= factor * du[i];
      for (int64_t r = 0; r < nrhs; ++r) b[r * ldb + i + 1] -= factor * b[r * ldb + i];
      dl[i] = T(0);
    } else {
      // Exchange rows i and i+1, then eliminate.
      const T factor = d[i] / dl[i];
      d[i] = dl[i];
      const T old_diag = d[i + 1];
      d[i + 1] = du[i] - factor * old_diag;
      if (i + 2 < n) {
        dl[i] = du[i + 1];
        du[i + 1] = -factor * dl[i];
      } else {
        dl[i] = T(0);
      }
      du[i] = old_diag;
      for (int64_t r = 0; r < nrhs; ++r) {
        T* col = b + r * ldb;
        const T upper = col[i];
        col[i] = col[i + 1];
        col[i + 1] = upper - factor * col[i + 1];
      }
    }
  }
  if (d[n - 1] == T(0)) {
    *info = n;
    return;
  }
  // Back substitution with the upper band: d, du and the fill in dl.
  for (int64_t r = 0; r < nrhs; ++r) {
    T* col = b + r * ldb;
    col[n - 1] /= d[n - 1];
    if (n > 1) col[n - 2] = (col[n - 2] - du[n - 2] * col[n - 1]) / d[n - 2];
    for (int64_t i = n - 3; i >= 0; --i) {
      col[i] = (col[i] - du[i] * col[i + 1] - dl[i] * col[i + 2]) / d[i];
    }
  }
}

}  // namespace

extern "C" {

OXL_API void ddtsvb_4dfl(const int64_t* n, const int64_t* nrhs, double* dl, double* d, double* du,
                         double* b, const int64_t* ldb, int64_t* info) {
  SolveTridiagonal(n, nrhs, dl, d, du, b, ldb, info);
}
OXL_API void sdtsvb_4dfl(const int64_t* n, const int64_t* nrhs, float* dl, float* d, float* du,
                         float* b, const int64_t* ldb, int64_t* info) {
  SolveTridiagonal(n, nrhs, dl, d, du, b, ldb, info);
}

}  // extern "C"
