// Scalar helpers that the statistics and the distribution generators share: chi-square functions,
// the regularised incomplete gamma function, inversion and rank repair of covariance matrices,
// in-place quick sorts and selections, and scalar ln, floor, sqrt and ln|gamma|. Plain functions
// without state, all re-entrant. The names are the library's own C names; none is exported.
#pragma once

#include <cstdint>

extern "C" {

// Chi-square density, distribution and its inverse for `dof` degrees of freedom (double only; the
// single-precision code calls these too). Cephes-style series and continued fraction, converged to
// a relative 1e-15.
double __vrsdChi2PDF(double dof, double x);
double __vrsdChi2CDF(double dof, double x);
double __vrsdChi2ICDF(double dof, double p);
// Regularised upper incomplete gamma function Q(a, x) = Gamma(a, x) / Gamma(a).
double _vdSSQ(double a, double x);

// The constants of the chi-square code, as 64-bit patterns in their order of use (see
// chi_square.cpp).
extern const uint64_t _vrsdChiSquareTab[16];

// ln|gamma(x)|. _vrs_px_lgamma also gives the sign of gamma(x) in *sign (-1 or 1).
double __vrsdLGamma(double x);
double _vrs_px_lgamma(int32_t* sign, double x);
// ln(gamma(x)) for x > 0, in extended precision.
long double lgamma_pos(long double x);

// Inverse of a p by p covariance matrix in place (closed forms below p = 4, else Cholesky): 0, or
// kStatusCholesky after giving the matrix back through oxl_serv_deallocate, or kStatusInverse.
// Only the triangle that LAPACK calls 'U' (element (i, j) at a[i * p + j] with j <= i) is written.
int32_t __vrsdInvCov(int32_t p, double* matrix);
int32_t __vrssInvCov(int32_t p, float* matrix);
void dInvCov1(double* matrix);
void dInvCov2(double* matrix);
void dInvCov3(double* matrix);
void sInvCov1(float* matrix);
void sInvCov2(float* matrix);
void sInvCov3(float* matrix);
// Mends a singular covariance matrix: if its smallest eigenvalue is not positive, adds 0.01 times
// the next eigenvalue that reaches the threshold to the diagonal. 0, or a status below.
int32_t __vrsdTestCovRank(int32_t p, double* matrix);
int32_t __vrssTestCovRank(int32_t p, float* matrix);
// 0.01, the threshold, 1 (bit patterns).
extern const uint64_t _vrsdCovRankTab[3];
extern const uint32_t _vrssCovRankTab[3];

// In-place ascending quick sort of a[0], a[stride], ... (n elements), and quick selection: after
// it a[k] is the k-th smallest (from 0), nothing greater left of it, nothing less right of it.
void __vrsdQSort(int64_t n, double* a);
void __vrssQSort(int64_t n, float* a);
void __vrsdQSortStep(int64_t n, double* a, int64_t stride);
void __vrssQSortStep(int64_t n, float* a, int64_t stride);
double __vrsdQSortSelect(int64_t n, double* a, int64_t k);
float __vrssQSortSelect(int64_t n, float* a, int64_t k);
// The quick sort of keys, each move repeated in map.
void _vdSSQuickMapSort(int64_t n, double* keys, double* map);
void _vsSSQuickMapSort(int64_t n, float* keys, float* map);

// Scalar logarithm (table-driven), floor and square root.
double __vrsdLn(double x);
double __vrsdFloor(double x);
double __vrsdSqrt(double x);

// ln k! for k >= 0: a table below 128, Stirling's series above (relative error below 1e-15).
double ln_factorial(int64_t k);

}  // extern "C"

namespace oxl::stats {
inline constexpr int32_t kStatusNoMemory = -4000;
inline constexpr int32_t kStatusCovRank = -4033;  // no eigenvalue reaches the threshold
inline constexpr int32_t kStatusEigen = -5040;    // the eigenvalue solver did not converge
inline constexpr int32_t kStatusCholesky = -5041;
inline constexpr int32_t kStatusInverse = -5042;
}  // namespace oxl::stats
