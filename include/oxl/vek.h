/* Vector functions: the per-thread mode word, error status and error callback, and the error
 * functions through which kernels report bad elements.
 *
 * Every thread has its own mode word, status, callback and input-vector pointer; a value set on
 * one thread is never seen by another. A thread's mode word is filled by its first
 * oxl_vek_kernel_GetMode (every kernel call makes one) from the environment variable
 * OXL_VEK_MODE, whose value is a comma-separated list of keywords, each "VEK_" followed by one of
 *   LA, HA, EP                                    accuracy
 *   DEFAULT_PRECISION, FLOAT_CONSISTENT, DOUBLE_CONSISTEN, RESTORE
 *                                                 precision control (read by no kernel)
 *   ERRMODE_IGNORE, ERRMODE_ERRNO, ERRMODE_STDERR, ERRMODE_EXCEPT, ERRMODE_CALLBACK,
 *   ERRMODE_DEFAULT                               error handling bits
 * for example "VEK_EP,VEK_ERRMODE_STDERR". The values of the keywords are OR-ed together without
 * any check for conflicts ("VEK_LA,VEK_HA" gives EP). Case matters, no blanks are allowed, and any
 * fault in the value (an unknown keyword, a trailing comma, a value longer than 255 bytes that
 * cuts a keyword) makes the whole value count as absent: the thread then starts with
 * OXL_VEK_MODE_DEFAULT. */
#ifndef OXL_VEK_H
#define OXL_VEK_H

#include <stdint.h>

#include "oxl/oxl_api.h"

OXL_EXTERN_C_BEGIN

/* Complex elements, real part first. */
typedef struct oxl_complex8 {
  float re;
  float im;
} oxl_complex8;

typedef struct oxl_complex16 {
  double re;
  double im;
} oxl_complex16;

/* Statuses of the vector functions. Kernels raise 1 to 4; -1 and -2 are for the interface layer
 * above, which reports through the same error functions. Any other value is reserved. */
enum {
  vek_status_bad_pointer = -2,
  vek_status_bad_size = -1,
  vek_status_ok = 0,
  vek_status_domain = 1,
  vek_status_singularity = 2,
  vek_status_overflow = 3,
  vek_status_underflow = 4
};

/* Mode word. Only the low 32 bits are meaningful. */
#define OXL_VEK_MODE_ACCURACY_MASK 0xFu
#define OXL_VEK_MODE_LA 0x1u /* table slot 0 */
#define OXL_VEK_MODE_HA 0x2u /* table slot 1 */
#define OXL_VEK_MODE_EP 0x3u /* table slot 2 */

/* Precision control: settable only from the environment; no kernel reads it. */
#define OXL_VEK_MODE_PRECISION_MASK 0xF0u
#define OXL_VEK_MODE_DEFAULT_PRECISION 0x00u
#define OXL_VEK_MODE_FLOAT_CONSISTENT 0x10u
#define OXL_VEK_MODE_DOUBLE_CONSISTENT 0x20u
#define OXL_VEK_MODE_RESTORE 0x30u

/* Error handling: a set of bits. The field exactly equal to IGNORE stores the status and does
 * nothing else; IGNORE together with any other bit is not ignore. */
#define OXL_VEK_MODE_ERRMODE_MASK 0xFF00u
#define OXL_VEK_MODE_ERRMODE_IGNORE 0x100u
#define OXL_VEK_MODE_ERRMODE_ERRNO 0x200u
#define OXL_VEK_MODE_ERRMODE_STDERR 0x400u
#define OXL_VEK_MODE_ERRMODE_EXCEPT 0x800u
#define OXL_VEK_MODE_ERRMODE_CALLBACK 0x1000u
#define OXL_VEK_MODE_ERRMODE_DEFAULT 0x1A00u /* errno, except and callback */

/* Floating-point mode of the kernels: FTZ_DAZ_ON runs them with flush-to-zero and
 * denormals-are-zero; FTZ_DAZ_OFF and 0 honour denormals. Reachable only through
 * oxl_vek_kernel_SetMode. */
#define OXL_VEK_MODE_FTZ_DAZ_MASK 0x3C0000u
#define OXL_VEK_MODE_FTZ_DAZ_ON 0x280000u
#define OXL_VEK_MODE_FTZ_DAZ_OFF 0x140000u

/* The mode word of a thread whose environment gives none: HA, errno, except, callback. */
#define OXL_VEK_MODE_DEFAULT 0x1A02u

/* What an error callback receives for each bad element. The imaginary parts of real types, and
 * for statuses -1 and -2 all arguments and results, are not read from the arrays and hold 0. */
typedef struct oxl_vek_error_record {
  int32_t code;       /* the status */
  int32_t index;      /* index of the element in the caller's whole vector (see
                         oxl_vek_kernel_SetInterfInputVectorPointer); for -1 the index value given */
  double arg1;        /* first argument, real part */
  double arg2;        /* second argument, real part; equal to arg1 for one-argument functions */
  double res1;        /* first result, real part; the callback may change it */
  double res2;        /* second result, real part; the callback may change it */
  char func_name[64]; /* e.g. "vsExp"; not NUL-terminated when it fills all 64 bytes */
  int32_t func_name_len;
  double arg1_im;
  double arg2_im;
  double res1_im; /* the callback may change it */
  double res2_im; /* the callback may change it */
} oxl_vek_error_record;

/* An error callback returns 0 to go on with the mode's actions and store the record's results
 * into the result arrays, or non-zero to stop: the element keeps the kernel's result, and neither
 * errno nor a message follows. */
typedef int32_t (*oxl_vek_error_callback)(oxl_vek_error_record* record);

/* The thread's mode word, read from the environment on the thread's first call. */
OXL_API uint64_t oxl_vek_kernel_GetMode(void);

/* Replaces each of the accuracy, error handling and floating-point fields in which `mode` is
 * non-zero, drops all other bits, and returns the previous mode word. SetMode(0) only reads.
 * Restoring a saved word restores only its non-zero fields. */
OXL_API uint32_t oxl_vek_kernel_SetMode(uint32_t mode);

/* Table slot for the thread's mode, (accuracy - 1); -1 when the accuracy field is 0. */
OXL_API int32_t oxl_vek_kernel_GetTTableIndex(void);
/* The same for a given mode word; `unused` is not read. */
OXL_API int32_t oxl_vek_kernel_GetTTableIndexM(const void* unused, uint64_t mode);

/* Parses OXL_VEK_MODE afresh: the OR of its keywords' values, or -1 when it is unset, empty or
 * faulty. Does not touch the thread's mode. */
OXL_API int64_t oxl_vek_kernel_ReadEnvVarMode(void);

/* Sets the start of the whole input vector, so that callbacks of kernels run on pieces of it see
 * indices into the whole vector; NULL turns the translation off. Returns `pointer`. */
OXL_API const void* oxl_vek_kernel_SetInterfInputVectorPointer(const void* pointer);

/* The thread's status: the last one reported, or 0. Kernels never clear it. Set and Clear return
 * the previous status. */
OXL_API int32_t oxl_vek_kernel_SetErrStatus(int32_t status);
OXL_API int32_t oxl_vek_kernel_GetErrStatus(void);
OXL_API int32_t oxl_vek_kernel_ClearErrStatus(void);

/* The thread's error callback. Setting a callback also sets the CALLBACK bit of the mode; setting
 * NULL clears the bit, except when it is the only error bit (an empty error field is never
 * written), which is harmless as no callback is then called. Each returns the previous callback. */
OXL_API oxl_vek_error_callback oxl_vek_kernel_SetErrorCallBack(oxl_vek_error_callback callback);
OXL_API oxl_vek_error_callback oxl_vek_kernel_GetErrorCallBack(void);
OXL_API oxl_vek_error_callback oxl_vek_kernel_ClearErrorCallBack(void);

/* The same operations under their short names. */
OXL_API uint64_t _vekGetMode(void);
OXL_API uint32_t _vekSetMode(uint32_t mode);
OXL_API int32_t _vekSetErrStatus(int32_t status);
OXL_API int32_t _vekGetErrStatus(void);
OXL_API int32_t _vekClearErrStatus(void);
OXL_API oxl_vek_error_callback _vekSetErrorCallBack(oxl_vek_error_callback callback);
OXL_API oxl_vek_error_callback _vekGetErrorCallBack(void);
OXL_API oxl_vek_error_callback _vekClearErrorCallBack(void);
OXL_API const void* _vekSetInterfInputVectorPointer(const void* pointer);

/* Reports `status` for element `index` of the arrays: stores the thread's status and, as the
 * thread's mode asks, calls the callback, sets errno (EACCES, EINVAL, 0, EDOM, ERANGE for -2, -1,
 * 0, 1, 2 to 4, EFAULT otherwise), prints a message on standard error, and stores the record's
 * results into r2[index] and then r1[index]. One-argument functions pass a1 twice, one-result
 * functions r1 twice. For statuses -1 and -2 the arrays are not touched. `name` is the function's
 * NUL-terminated name, such as "vsExp". */
OXL_API void oxl_vek_kernel_sError(int32_t status, int32_t index, const float* a1, const float* a2,
                                   float* r1, float* r2, const char* name);
OXL_API void oxl_vek_kernel_dError(int32_t status, int32_t index, const double* a1,
                                   const double* a2, double* r1, double* r2, const char* name);
OXL_API void oxl_vek_kernel_cError(int32_t status, int32_t index, const oxl_complex8* a1,
                                   const oxl_complex8* a2, oxl_complex8* r1, oxl_complex8* r2,
                                   const char* name);
OXL_API void oxl_vek_kernel_zError(int32_t status, int32_t index, const oxl_complex16* a1,
                                   const oxl_complex16* a2, oxl_complex16* r1, oxl_complex16* r2,
                                   const char* name);

/* Callbacks for logarithms of values that may be 0: for status 2 (singularity) they replace both
 * results by the logarithm of the smallest positive denormal of the type (about -744.44 for
 * double, -103.279 for float) and leave other statuses alone; _vsLnCallBackAnyStatus replaces
 * them whatever the status. All return 0. */
OXL_API int32_t _vsLnCallBack(oxl_vek_error_record* record);
OXL_API int32_t _vdLnCallBack(oxl_vek_error_record* record);
OXL_API int32_t _vsLnCallBackAnyStatus(oxl_vek_error_record* record);

OXL_EXTERN_C_END

#endif /* OXL_VEK_H */
