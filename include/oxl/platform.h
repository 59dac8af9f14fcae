/* Platform services used throughout oxl, processor queries and floating-point control. */
#ifndef OXL_PLATFORM_H
#define OXL_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#include "oxl/oxl_api.h"

OXL_EXTERN_C_BEGIN

/* Memory. `alignment` is rounded up to a power of two of at least pointer size. Returns NULL on
 * failure. A size of 0 gives a unique pointer that must be released like any other. */
OXL_API void* oxl_serv_allocate(size_t size, int alignment);
OXL_API void oxl_serv_deallocate(void* ptr);

/* Bounded copy. Returns 0, or 22 (EINVAL) for a null pointer, or 34 (ERANGE) when `count` exceeds
 * `dest_size`; on an error with a usable destination the destination is zeroed. Overlap is
 * allowed. */
OXL_API int oxl_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count);

/* Copies the value of environment variable `name` into `buffer` (at most size - 1 bytes and a
 * terminating NUL) and returns the number of bytes copied; 0 or less when the variable is unset
 * or nothing fits. */
OXL_API int oxl_serv_getenv(const char* name, char* buffer, int buffer_size);

/* Prints catalogue message `msg_number` on the stream chosen by `dest` (1: standard error), with
 * `item_count` items following as variable arguments. Items by message:
 *   735: function name (const char*), index (int)
 *   736..741: function name (const char*)
 *   742..753: element index (int), value (double)
 * Fewer items than listed are allowed; the message stops at the last item given. Returns the
 * number of characters printed, or -1. */
OXL_API int oxl_serv_print(int dest, int msg_number, int item_count, ...);

/* Returns the threading-service function of the given name, or NULL when the name is unknown.
 * Known names: "oxl_vrs_serv_threader_get_num_threads_limit", "oxl_vrs_serv_threader_for".
 * The functions of a loaded companion services library are preferred; without it a serial
 * implementation answers. */
OXL_API void* oxl_serv_load_thread_fun(const char* name);

/* Processor features, as bits of oxl_dft_pvk_cpu_features(). A feature counts only when the
 * operating system also saves the register state it needs. */
#define OXL_CPU_SSE42 (1ull << 0)
#define OXL_CPU_AVX (1ull << 1)
#define OXL_CPU_AVX2 (1ull << 2)
#define OXL_CPU_FMA (1ull << 3)
#define OXL_CPU_BMI2 (1ull << 4)
#define OXL_CPU_F16C (1ull << 5)
#define OXL_CPU_AVX512F (1ull << 8)
#define OXL_CPU_AVX512DQ (1ull << 9)
#define OXL_CPU_AVX512BW (1ull << 10)
#define OXL_CPU_AVX512VL (1ull << 11)
#define OXL_CPU_AVX512CD (1ull << 12)
#define OXL_CPU_AVX512ER (1ull << 13)
#define OXL_CPU_AVX512PF (1ull << 14)
#define OXL_CPU_AVX512IFMA (1ull << 15)
#define OXL_CPU_AVX512VBMI (1ull << 16)
#define OXL_CPU_AES (1ull << 24)
#define OXL_CPU_VAES (1ull << 25)
#define OXL_CPU_PCLMULQDQ (1ull << 26)
#define OXL_CPU_VPCLMULQDQ (1ull << 27)
#define OXL_CPU_RDRAND (1ull << 28)
#define OXL_CPU_RDSEED (1ull << 29)

OXL_API uint64_t oxl_dft_pvk_cpu_features(void);
/* 1 when every bit of `features` is present, else 0. */
OXL_API int oxl_dft_pvk_has_features(uint64_t features);
/* Size in bytes of the data (or unified) cache of `level` 1, 2 or 3; 0 when unknown. */
OXL_API int64_t oxl_dft_pvk_cache_size(int level);
/* SIMD targets. Every dispatched kernel of the library (vector functions, generators, distributions,
 * statistics, data fitting) runs on one target for the whole process, and every target gives the
 * same bits. The first dispatched call chooses it from the environment variable OXL_SIMD_TARGET
 * ("avx512", "avx2" or "scalar"), read once; an unset, unknown, empty or overlong value, or a
 * target this processor cannot run, gives the best target it has. */
#define OXL_SIMD_TARGET_DEFAULT 0 /* the environment's choice, or the best target */
#define OXL_SIMD_TARGET_SCALAR 1  /* portable code, one lane */
#define OXL_SIMD_TARGET_AVX2 2    /* AVX2 with FMA, 256-bit vectors */
#define OXL_SIMD_TARGET_AVX512 3  /* AVX-512 F/BW/DQ/VL, 512-bit vectors */

/* The target in use. */
OXL_API int oxl_dft_pvk_get_simd_target(void);
/* Pins `target` (one of the values above) for every later call of any thread; calls already
 * running finish on their target. A target the processor cannot run gives the best one it has.
 * Returns the target now in use, or -1 (nothing changed) for a value that names no target. */
OXL_API int oxl_dft_pvk_set_simd_target(int target);
/* 1 when this processor runs `target`, else 0. */
OXL_API int oxl_dft_pvk_simd_target_supported(int target);
/* Name of the target in use, as the environment variable spells it. */
OXL_API const char* oxl_dft_pvk_simd_target(void);

/* Floating-point control: the SSE control and status register. */
OXL_API uint32_t oxl_dft_ps_get_mxcsr(void);
OXL_API void oxl_dft_ps_set_mxcsr(uint32_t value);

/* Triangular multiplies for the multivariate Gaussian, with the arguments of the BLAS routine
 * xTRMM: B := alpha op(A) B (side "L") or alpha B op(A) (side "R"), op(A) = A or A^T, A upper or
 * lower triangular, unit or non-unit diagonal, B m by n column-major with leading dimension ldb.
 *   oxl_blas4vek_?trmm    A full with leading dimension lda (the distribution's BLAS);
 *   oxl_blas_x?trmm_4vek  the same contract, sequential, meant for small A;
 *   oxl_blas4vek_?ptrmm   A packed by columns as in BLAS xTPMV, so no lda.
 * Invalid letters or sizes do nothing. */
OXL_API void oxl_blas4vek_dtrmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n, const double* alpha,
                                const double* a, const int* lda, double* b, const int* ldb);
OXL_API void oxl_blas4vek_strmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n, const float* alpha,
                                const float* a, const int* lda, float* b, const int* ldb);
OXL_API void oxl_blas_xdtrmm_4vek(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n,
                                  const double* alpha, const double* a, const int* lda, double* b,
                                  const int* ldb);
OXL_API void oxl_blas_xstrmm_4vek(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n, const float* alpha,
                                  const float* a, const int* lda, float* b, const int* ldb);
OXL_API void oxl_blas4vek_dptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n, const double* alpha,
                                 const double* ap, double* b, const int* ldb);
OXL_API void oxl_blas4vek_sptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n, const float* alpha,
                                 const float* ap, float* b, const int* ldb);

OXL_EXTERN_C_END

#endif /* OXL_PLATFORM_H */
