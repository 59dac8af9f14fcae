// The LAPACK routines of the statistics code, through OpenBLAS's Fortran interface, with overloads
// by element type. Matrices are column-major with leading dimension p.
#pragma once

extern "C" {
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info);
void spotrf_(const char* uplo, const int* n, float* a, const int* lda, int* info);
void dpotri_(const char* uplo, const int* n, double* a, const int* lda, int* info);
void spotri_(const char* uplo, const int* n, float* a, const int* lda, int* info);
void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w,
            double* work, const int* lwork, int* info);
void ssyev_(const char* jobz, const char* uplo, const int* n, float* a, const int* lda, float* w,
            float* work, const int* lwork, int* info);
}

namespace oxl::stats::lapack {

// Cholesky factor of the 'U' triangle; returns LAPACK's info.
inline int Potrf(int p, double* a) {
  int info;
  dpotrf_("U", &p, a, &p, &info);
  return info;
}
inline int Potrf(int p, float* a) {
  int info;
  spotrf_("U", &p, a, &p, &info);
  return info;
}

// Inverse from the Cholesky factor, on the 'U' triangle.
inline int Potri(int p, double* a) {
  int info;
  dpotri_("U", &p, a, &p, &info);
  return info;
}
inline int Potri(int p, float* a) {
  int info;
  spotri_("U", &p, a, &p, &info);
  return info;
}

// Eigenvalues (ascending, into w) of the 'L' triangle, which the call destroys; lwork >= 3p - 1.
inline int SyevValues(int p, double* a, double* w, double* work, int lwork) {
  int info;
  dsyev_("N", "L", &p, a, &p, w, work, &lwork, &info);
  return info;
}
inline int SyevValues(int p, float* a, float* w, float* work, int lwork) {
  int info;
  ssyev_("N", "L", &p, a, &p, w, work, &lwork, &info);
  return info;
}

}  // namespace oxl::stats::lapack
