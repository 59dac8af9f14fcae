// Tridiagonal solve by Gaussian elimination with partial pivoting (Golub and Van Loan, band
// Gaussian elimination). A row exchange fills the second super-diagonal, which is kept in dl as
// the elimination no longer needs the sub-diagonal entry it replaces.
#include <cmath>

#include "df/tridiagonal.h"
#include "oxl/df.h"

namespace oxl::df {

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

// Factorisation of a tridiagonal matrix without pivoting, from both ends at once (the "burning
// at both ends" scheme): rows 0 .. k-1 are eliminated downward, rows n-1 .. k+1 upward, and the
// two sweeps meet at row k = n/2. The two sweeps are independent recurrences, run side by side
// in one loop so that the processor overlaps their latencies; and a matrix whose end rows are
// not diagonally dominant (a not-a-knot condition) loses nothing at either end, as each end row
// is the first pivot of its sweep. In place: dl[0..k-1] take the downward multipliers,
// du[k..n-2] the upward ones, d the reciprocals of the pivots (so that solves multiply);
// du[0..k-1] and dl[k..n-2] stay as given, since back substitution needs them.
inline int64_t MeetingRow(int64_t n) { return n / 2; }

template <class T>
void FactorBothEnds(const int64_t* n_ref, T* dl, T* d, T* du, int64_t* info) {
  const int64_t n = *n_ref;
  if (n < 0) {
    *info = -1;
    return;
  }
  *info = 0;
  if (n == 0) return;
  const int64_t k = MeetingRow(n);
  const int64_t down = k, up = n - 1 - k;  // steps of each sweep; up <= down
  for (int64_t j = 0; j < down; ++j) {
    const int64_t i = j;
    if (d[i] == T(0)) {
      *info = i + 1;
      return;
    }
    const T inv = T(1) / d[i];
    dl[i] *= inv;  // the multiplier of row i + 1
    if (i + 1 < k) d[i + 1] -= dl[i] * du[i];
    d[i] = inv;
    if (j < up) {
      const int64_t r = n - 1 - j;
      if (d[r] == T(0)) {
        *info = r + 1;
        return;
      }
      const T inv_r = T(1) / d[r];
      du[r - 1] *= inv_r;  // the multiplier of row r - 1
      if (r - 1 > k) d[r - 1] -= du[r - 1] * dl[r - 1];
      d[r] = inv_r;
    }
  }
  T pivot = d[k];
  if (k > 0) pivot -= dl[k - 1] * du[k - 1];
  if (k + 1 < n) pivot -= du[k] * dl[k];
  if (pivot == T(0)) {
    *info = k + 1;
    return;
  }
  d[k] = T(1) / pivot;
}

template <class T>
void SolveBothEnds(const int64_t* n_ref, const int64_t* nrhs_ref, const T* dl, const T* d,
                   const T* du, T* b, const int64_t* ldb_ref, int64_t* info) {
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
  const int64_t k = MeetingRow(n);
  const int64_t down = k, up = n - 1 - k;
  for (int64_t r = 0; r < nrhs; ++r) {
    T* x = b + r * ldb;
    // Forward: rows 1 .. k-1 from the top, rows n-2 .. k+1 from the bottom.
    for (int64_t j = 1; j < down; ++j) {
      x[j] -= dl[j - 1] * x[j - 1];
      if (j < up) x[n - 1 - j] -= du[n - 1 - j] * x[n - j];
    }
    T mid = x[k];
    if (k > 0) mid -= dl[k - 1] * x[k - 1];
    if (k + 1 < n) mid -= du[k] * x[k + 1];
    x[k] = mid * d[k];
    // Back: from the meeting row outward, both halves at once.
    for (int64_t j = 1; j <= down; ++j) {
      const int64_t i = k - j;
      x[i] = (x[i] - du[i] * x[i + 1]) * d[i];
      if (j <= up) {
        const int64_t m = k + j;
        x[m] = (x[m] - dl[m - 1] * x[m - 1]) * d[m];
      }
    }
  }
}

template void SolveTridiagonal<double>(const int64_t*, const int64_t*, double*, double*, double*,
                                       double*, const int64_t*, int64_t*);
template void SolveTridiagonal<float>(const int64_t*, const int64_t*, float*, float*, float*,
                                      float*, const int64_t*, int64_t*);
template void FactorBothEnds<double>(const int64_t*, double*, double*, double*, int64_t*);
template void FactorBothEnds<float>(const int64_t*, float*, float*, float*, int64_t*);
template void SolveBothEnds<double>(const int64_t*, const int64_t*, const double*, const double*,
                                    const double*, double*, const int64_t*, int64_t*);
template void SolveBothEnds<float>(const int64_t*, const int64_t*, const float*, const float*,
                                   const float*, float*, const int64_t*, int64_t*);

}  // namespace oxl::df

using oxl::df::FactorBothEnds;
using oxl::df::SolveBothEnds;
using oxl::df::SolveTridiagonal;

extern "C" {

OXL_API void ddtsvb_4dfl(const int64_t* n, const int64_t* nrhs, double* dl, double* d, double* du,
                         double* b, const int64_t* ldb, int64_t* info) {
  SolveTridiagonal(n, nrhs, dl, d, du, b, ldb, info);
}
OXL_API void sdtsvb_4dfl(const int64_t* n, const int64_t* nrhs, float* dl, float* d, float* du,
                         float* b, const int64_t* ldb, int64_t* info) {
  SolveTridiagonal(n, nrhs, dl, d, du, b, ldb, info);
}

OXL_API void ddttrfb_4dfl(const int64_t* n, double* dl, double* d, double* du, int64_t* info) {
  FactorBothEnds(n, dl, d, du, info);
}
OXL_API void sdttrfb_4dfl(const int64_t* n, float* dl, float* d, float* du, int64_t* info) {
  FactorBothEnds(n, dl, d, du, info);
}
OXL_API void ddttrsb_4dfl(const int64_t* n, const int64_t* nrhs, const double* dl, const double* d,
                          const double* du, double* b, const int64_t* ldb, int64_t* info) {
  SolveBothEnds(n, nrhs, dl, d, du, b, ldb, info);
}
OXL_API void sdttrsb_4dfl(const int64_t* n, const int64_t* nrhs, const float* dl, const float* d,
                          const float* du, float* b, const int64_t* ldb, int64_t* info) {
  SolveBothEnds(n, nrhs, dl, d, du, b, ldb, info);
}

}  // extern "C"
