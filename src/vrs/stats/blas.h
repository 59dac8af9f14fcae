// The few BLAS routines of the statistics code, through OpenBLAS's Fortran interface, with
// overloads by element type. They are called from the calling thread only: worker threads of a
// compute entry never enter BLAS, so that OpenBLAS's own threading stays the caller's business.
#pragma once

extern "C" {
void dsyr_(const char* uplo, const int* n, const double* alpha, const double* x, const int* incx,
           double* a, const int* lda);
void ssyr_(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
           float* a, const int* lda);
void dsyrk_(const char* uplo, const char* trans, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* beta, double* c, const int* ldc);
void ssyrk_(const char* uplo, const char* trans, const int* n, const int* k, const float* alpha,
            const float* a, const int* lda, const float* beta, float* c, const int* ldc);
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
            const double* beta, double* c, const int* ldc);
void sgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const float* alpha, const float* a, const int* lda, const float* b, const int* ldb,
            const float* beta, float* c, const int* ldc);
}

namespace oxl::stats::blas {

// A += alpha * v v^T on the upper triangle of the column-major p by p matrix A.
inline void Syr(int p, double alpha, const double* v, double* a) {
  const int one = 1;
  dsyr_("U", &p, &alpha, v, &one, a, &p);
}
inline void Syr(int p, float alpha, const float* v, float* a) {
  const int one = 1;
  ssyr_("U", &p, &alpha, v, &one, a, &p);
}

// C += A A^T ('N', A is p by k) or A^T A ('T', A is k by p), upper triangle, column-major.
inline void Syrk(char trans, int p, int k, const double* a, int lda, double* c) {
  const double one = 1.0;
  dsyrk_("U", &trans, &p, &k, &one, a, &lda, &one, c, &p);
}
inline void Syrk(char trans, int p, int k, const float* a, int lda, float* c) {
  const float one = 1.0f;
  ssyrk_("U", &trans, &p, &k, &one, a, &lda, &one, c, &p);
}

// C += op(A) op(B), C p by p column-major.
inline void Gemm(char ta, char tb, int p, int k, const double* a, int lda, const double* b, int ldb,
                 double* c) {
  const double one = 1.0;
  dgemm_(&ta, &tb, &p, &p, &k, &one, a, &lda, b, &ldb, &one, c, &p);
}
inline void Gemm(char ta, char tb, int p, int k, const float* a, int lda, const float* b, int ldb,
                 float* c) {
  const float one = 1.0f;
  sgemm_(&ta, &tb, &p, &p, &k, &one, a, &lda, b, &ldb, &one, c, &p);
}

}  // namespace oxl::stats::blas
