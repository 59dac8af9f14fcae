// Inversion of a small covariance matrix and repair of a singular one, double and single.
//
// A matrix is p by p, full and symmetric, element (i, j) at a[i * p + j]. LAPACK reads it as
// column-major, so its 'U' triangle is the one with j <= i here; the closed forms for p < 4 write
// that same triangle, and callers read it.
#include <bit>
#include <cmath>
#include <cstdint>

#include "oxl/platform.h"
#include "numeric/lapack.h"
#include "numeric/helpers.h"

extern "C" {
// 0.01, the repair threshold (the 64-bit pattern 1000: the denormal 4.94e-321), 1.
const uint64_t _vrsdCovRankTab[3] = {0x3f847ae147ae147b, 1000, 0x3ff0000000000000};
// The single twin: 0.01, the 32-bit pattern 1000 (1.4e-42), 1.
const uint32_t _vrssCovRankTab[3] = {0x3c23d70a, 1000, 0x3f800000};
}

namespace oxl::stats {
namespace {

template <class T>
T RankTab(int i) {
  if constexpr (sizeof(T) == 8) {
    return std::bit_cast<double>(_vrsdCovRankTab[i]);
  } else {
    return std::bit_cast<float>(_vrssCovRankTab[i]);
  }
}

template <class T>
void InvCov1(T* a) {
  a[0] = T(1) / a[0];
}

// Reads and writes a00, a10, a11; a01 stays as it was.
template <class T>
void InvCov2(T* a) {
  const T a00 = a[0], a10 = a[2], a11 = a[3];
  const T det = a00 * a11 - a10 * a10;
  a[0] = a11 / det;
  a[2] = -a10 / det;
  a[3] = a00 / det;
}

// The cofactors over the determinant, on the triangle a00, a10, a11, a20, a21, a22. Each
// cofactor is a difference of two products, the second rounded once inside a fused operation.
template <class T>
void InvCov3(T* a) {
  const T a00 = a[0], a10 = a[3], a11 = a[4], a20 = a[6], a21 = a[7], a22 = a[8];
  const T c00 = std::fma(a11, a22, -(a21 * a21));
  const T c10 = std::fma(a21, a20, -(a10 * a22));
  const T c20 = std::fma(a10, a21, -(a11 * a20));
  const T c11 = std::fma(a00, a22, -(a20 * a20));
  const T c21 = std::fma(a10, a20, -(a00 * a21));
  const T c22 = std::fma(a00, a11, -(a10 * a10));
  const T det = std::fma(a00, c00, std::fma(a10, c10, a20 * c20));
  a[0] = c00 / det;
  a[3] = c10 / det;
  a[4] = c11 / det;
  a[6] = c20 / det;
  a[7] = c21 / det;
  a[8] = c22 / det;
}

template <class T>
int32_t InvCov(int p, T* a) {
  using Closed = void (*)(T*);
  static constexpr Closed kClosed[4] = {nullptr, &InvCov1<T>, &InvCov2<T>, &InvCov3<T>};
  if (p < 4) {
    if (p > 0) kClosed[p](a);
    return 0;
  }
  if (lapack::Potrf(p, a) != 0) {
    // The caller's block is given up here: the callers allocate it for this call alone.
    oxl_serv_deallocate(a);
    return kStatusCholesky;
  }
  return lapack::Potri(p, a) != 0 ? kStatusInverse : 0;
}

// Work memory of the rank test: 5p values, freed on every path out.
template <class T>
class Work {
 public:
  explicit Work(int p) : data_(static_cast<T*>(oxl_serv_allocate(5 * sizeof(T) * p, 128))) {}
  ~Work() { oxl_serv_deallocate(data_); }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  T* get() const { return data_; }

 private:
  T* data_;
};

// The eigenvalue solver destroys the triangle j >= i (LAPACK's 'L') and the diagonal. The diagonal
// goes aside; the strictly upper triangle, which a symmetric matrix holds twice, is first copied
// over the strictly lower one that the solver leaves alone, and copied back after.
template <class T>
int32_t TestCovRank(int p, T* a) {
  const T shift = RankTab<T>(0), threshold = RankTab<T>(1);
  if (p == 1) {
    if (a[0] > 0) return 0;
    if (a[0] >= -threshold) {
      a[0] = threshold;
      return 0;
    }
    return kStatusCovRank;
  }
  Work<T> work(p);
  if (work.get() == nullptr) return kStatusNoMemory;
  T* eigenvalues = work.get();
  T* diagonal = eigenvalues + p;
  T* scratch = diagonal + p;
  for (int i = 0; i < p; ++i) {
    diagonal[i] = a[i * p + i];
    for (int j = i + 1; j < p; ++j) a[j * p + i] = a[i * p + j];
  }
  if (lapack::SyevValues(p, a, eigenvalues, scratch, 3 * p) != 0) return kStatusEigen;
  for (int i = 0; i < p; ++i) {
    a[i * p + i] = diagonal[i];
    for (int j = i + 1; j < p; ++j) a[i * p + j] = a[j * p + i];
  }
  if (eigenvalues[0] > 0) return 0;
  int k = 1;
  while (k < p && eigenvalues[k] < threshold) ++k;
  if (k == p) return kStatusCovRank;
  for (int i = 0; i < p; ++i) a[i * p + i] += shift * eigenvalues[k];
  return 0;
}

}  // namespace
}  // namespace oxl::stats

using oxl::stats::InvCov;
using oxl::stats::InvCov1;
using oxl::stats::InvCov2;
using oxl::stats::InvCov3;
using oxl::stats::TestCovRank;

extern "C" {

int32_t __vrsdInvCov(int32_t p, double* matrix) { return InvCov(p, matrix); }
int32_t __vrssInvCov(int32_t p, float* matrix) { return InvCov(p, matrix); }
void dInvCov1(double* matrix) { InvCov1(matrix); }
void dInvCov2(double* matrix) { InvCov2(matrix); }
void dInvCov3(double* matrix) { InvCov3(matrix); }
void sInvCov1(float* matrix) { InvCov1(matrix); }
void sInvCov2(float* matrix) { InvCov2(matrix); }
void sInvCov3(float* matrix) { InvCov3(matrix); }
int32_t __vrsdTestCovRank(int32_t p, double* matrix) { return TestCovRank(p, matrix); }
int32_t __vrssTestCovRank(int32_t p, float* matrix) { return TestCovRank(p, matrix); }

}  // extern "C"
