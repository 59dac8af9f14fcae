/* Every vector function, made from the one list in oxl/vek_functions.def: its kernels, its table
 * of three kernel pointers (oxl_vek_kernel_<t><Func>_ttab: slot 0 LA, 1 HA, 2 EP), its cost table
 * (oxl_vek_kernel_<t><Func>_ctab: three relative costs per element, data for the caller only),
 * and its four entry stubs, each of which jumps through one slot of the table:
 *
 *   s, c:  _vek<t><Func> and _vek<t><Func>_HA slot 1, _vek<t><Func>_21 slot 0, _11 slot 2
 *   d, z:  _vek<t><Func> and _vek<t><Func>_HA slot 1, _vek<t><Func>_50 slot 0, _26 slot 2
 *
 * The plain stub always runs slot 1, whatever the thread's mode word says; a caller that wants the
 * mode's level takes the slot from oxl_vek_kernel_GetTTableIndex and calls through the table.
 * Pack and Unpack stubs take four arguments and call their kernel with a fifth, 1.
 *
 * Kernels compute n elements (n <= 0 does nothing) and report bad elements through the thread's
 * status, errno and callback (oxl/vek.h). The tables are writable so that they can be read where
 * they stand; the library itself never writes them. */
#ifndef OXL_VEK_FUNCTIONS_H
#define OXL_VEK_FUNCTIONS_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/vek.h"

OXL_EXTERN_C_BEGIN

/* Element type of each type letter, and its real part type. */
#define OXL_VEK_ELEM_s float
#define OXL_VEK_ELEM_d double
#define OXL_VEK_ELEM_c oxl_complex8
#define OXL_VEK_ELEM_z oxl_complex16
#define OXL_VEK_PART_s float
#define OXL_VEK_PART_d double
#define OXL_VEK_PART_c float
#define OXL_VEK_PART_z double

/* Kernel parameters of each argument form; E is the element type, R its real part type. */
#define OXL_VEK_PARAMS_UNARY(E, R) (int n, const E* a, E* r)
#define OXL_VEK_PARAMS_BINARY(E, R) (int n, const E* a, const E* b, E* r)
#define OXL_VEK_PARAMS_POWX(E, R) (int n, const E* a, E b, E* r)
#define OXL_VEK_PARAMS_TWO(E, R) (int n, const E* a, E* r1, E* r2)
#define OXL_VEK_PARAMS_LINEARFRAC(E, R) \
  (int n, const E* a, const E* b, E scalea, E shifta, E scaleb, E shiftb, E* r)
#define OXL_VEK_PARAMS_TO_REAL(E, R) (int n, const E* a, R* r)
#define OXL_VEK_PARAMS_FROM_REAL(E, R) (int n, const R* a, E* r)
/* Pack: y[i] = a[i * incra], a[ia[i]], or the elements of a whose mask ma[] is non-zero, in
 * order. Unpack: y[i * incry], y[iy[i]], or the elements of y whose mask my[] is non-zero, take
 * a[0], a[1], ... in order. The fifth argument is 1 from every stub and is not read. */
#define OXL_VEK_PARAMS_PACKI(E, R) (int64_t n, const E* a, int64_t incra, E* y, int unit)
#define OXL_VEK_PARAMS_PACKV(E, R) (int64_t n, const E* a, const int64_t* ia, E* y, int unit)
#define OXL_VEK_PARAMS_PACKM(E, R) (int64_t n, const E* a, const int64_t* ma, E* y, int unit)
#define OXL_VEK_PARAMS_UNPACKI(E, R) (int64_t n, const E* a, E* y, int64_t incry, int unit)
#define OXL_VEK_PARAMS_UNPACKV(E, R) (int64_t n, const E* a, E* y, const int64_t* iy, int unit)
#define OXL_VEK_PARAMS_UNPACKM(E, R) (int64_t n, const E* a, E* y, const int64_t* my, int unit)

/* Stub parameters: those of the kernel, but for Pack and Unpack without the fifth. */
#define OXL_VEK_STUB_PARAMS_UNARY OXL_VEK_PARAMS_UNARY
#define OXL_VEK_STUB_PARAMS_BINARY OXL_VEK_PARAMS_BINARY
#define OXL_VEK_STUB_PARAMS_POWX OXL_VEK_PARAMS_POWX
#define OXL_VEK_STUB_PARAMS_TWO OXL_VEK_PARAMS_TWO
#define OXL_VEK_STUB_PARAMS_LINEARFRAC OXL_VEK_PARAMS_LINEARFRAC
#define OXL_VEK_STUB_PARAMS_TO_REAL OXL_VEK_PARAMS_TO_REAL
#define OXL_VEK_STUB_PARAMS_FROM_REAL OXL_VEK_PARAMS_FROM_REAL
#define OXL_VEK_STUB_PARAMS_PACKI(E, R) (int64_t n, const E* a, int64_t incra, E* y)
#define OXL_VEK_STUB_PARAMS_PACKV(E, R) (int64_t n, const E* a, const int64_t* ia, E* y)
#define OXL_VEK_STUB_PARAMS_PACKM(E, R) (int64_t n, const E* a, const int64_t* ma, E* y)
#define OXL_VEK_STUB_PARAMS_UNPACKI(E, R) (int64_t n, const E* a, E* y, int64_t incry)
#define OXL_VEK_STUB_PARAMS_UNPACKV(E, R) (int64_t n, const E* a, E* y, const int64_t* iy)
#define OXL_VEK_STUB_PARAMS_UNPACKM(E, R) (int64_t n, const E* a, E* y, const int64_t* my)

/* The distinct kernels of each slot pattern, X(t, Func, form, suffix) for each. */
#define OXL_VEK_KERNELS_THREE(X, t, F, form) \
  X(t, F, form, B3LAynn) X(t, F, form, B3HAynn) X(t, F, form, B3EPnnn)
#define OXL_VEK_KERNELS_HA_ALL(X, t, F, form) X(t, F, form, B3HAynn)
#define OXL_VEK_KERNELS_EX_ALL(X, t, F, form) X(t, F, form, EXHAynn)
#define OXL_VEK_KERNELS_LA_IS_HA(X, t, F, form) X(t, F, form, B3HAynn) X(t, F, form, B3EPnnn)
#define OXL_VEK_KERNELS_EP_IS_LA(X, t, F, form) X(t, F, form, B3LAynn) X(t, F, form, B3HAynn)
#define OXL_VEK_KERNELS_U8(X, t, F, form) X(t, F, form, U8HAynn)
#define OXL_VEK_KERNELS_H8(X, t, F, form) X(t, F, form, H8HAynn)
#define OXL_VEK_KERNELS_L9(X, t, F, form) X(t, F, form, B3LAynn) X(t, F, form, L9HAynn)
#define OXL_VEK_KERNELS_E9(X, t, F, form) X(t, F, form, B3LAynn) X(t, F, form, E9HAynn)

/* The kernel in each slot of each pattern. */
#define OXL_VEK_SLOT0_THREE B3LAynn
#define OXL_VEK_SLOT1_THREE B3HAynn
#define OXL_VEK_SLOT2_THREE B3EPnnn
#define OXL_VEK_SLOT0_HA_ALL B3HAynn
#define OXL_VEK_SLOT1_HA_ALL B3HAynn
#define OXL_VEK_SLOT2_HA_ALL B3HAynn
#define OXL_VEK_SLOT0_EX_ALL EXHAynn
#define OXL_VEK_SLOT1_EX_ALL EXHAynn
#define OXL_VEK_SLOT2_EX_ALL EXHAynn
#define OXL_VEK_SLOT0_LA_IS_HA B3HAynn
#define OXL_VEK_SLOT1_LA_IS_HA B3HAynn
#define OXL_VEK_SLOT2_LA_IS_HA B3EPnnn
#define OXL_VEK_SLOT0_EP_IS_LA B3LAynn
#define OXL_VEK_SLOT1_EP_IS_LA B3HAynn
#define OXL_VEK_SLOT2_EP_IS_LA B3LAynn
#define OXL_VEK_SLOT0_U8 U8HAynn
#define OXL_VEK_SLOT1_U8 U8HAynn
#define OXL_VEK_SLOT2_U8 U8HAynn
#define OXL_VEK_SLOT0_H8 H8HAynn
#define OXL_VEK_SLOT1_H8 H8HAynn
#define OXL_VEK_SLOT2_H8 H8HAynn
#define OXL_VEK_SLOT0_L9 B3LAynn
#define OXL_VEK_SLOT1_L9 L9HAynn
#define OXL_VEK_SLOT2_L9 B3LAynn
#define OXL_VEK_SLOT0_E9 B3LAynn
#define OXL_VEK_SLOT1_E9 E9HAynn
#define OXL_VEK_SLOT2_E9 B3LAynn

/* The four stubs of each type, X(t, Func, form, suffix, slot) for each. */
#define OXL_VEK_STUBS_s(X, t, F, form) \
  X(t, F, form, , 1) X(t, F, form, _HA, 1) X(t, F, form, _21, 0) X(t, F, form, _11, 2)
#define OXL_VEK_STUBS_c OXL_VEK_STUBS_s
#define OXL_VEK_STUBS_d(X, t, F, form) \
  X(t, F, form, , 1) X(t, F, form, _HA, 1) X(t, F, form, _50, 0) X(t, F, form, _26, 2)
#define OXL_VEK_STUBS_z OXL_VEK_STUBS_d

/* Names, expanding a pattern's suffix first. */
#define OXL_VEK_KERNEL_NAME_(t, F, suffix) oxl_vek_kernel_##t##F##_##suffix
#define OXL_VEK_KERNEL_NAME(t, F, suffix) OXL_VEK_KERNEL_NAME_(t, F, suffix)

/* The table's pointer type of each type and form: oxl_vek_<t>_<form>_kernel. */
#define OXL_VEK_KERNEL_TYPEDEF(t, form) \
  typedef void(*oxl_vek_##t##_##form##_kernel) OXL_VEK_PARAMS_##form(OXL_VEK_ELEM_##t, OXL_VEK_PART_##t);
#define OXL_VEK_KERNEL_TYPEDEFS(t)                                                            \
  OXL_VEK_KERNEL_TYPEDEF(t, UNARY) OXL_VEK_KERNEL_TYPEDEF(t, BINARY)                          \
  OXL_VEK_KERNEL_TYPEDEF(t, POWX) OXL_VEK_KERNEL_TYPEDEF(t, TWO)                              \
  OXL_VEK_KERNEL_TYPEDEF(t, LINEARFRAC) OXL_VEK_KERNEL_TYPEDEF(t, TO_REAL)                    \
  OXL_VEK_KERNEL_TYPEDEF(t, FROM_REAL) OXL_VEK_KERNEL_TYPEDEF(t, PACKI)                       \
  OXL_VEK_KERNEL_TYPEDEF(t, PACKV) OXL_VEK_KERNEL_TYPEDEF(t, PACKM)                           \
  OXL_VEK_KERNEL_TYPEDEF(t, UNPACKI) OXL_VEK_KERNEL_TYPEDEF(t, UNPACKV)                       \
  OXL_VEK_KERNEL_TYPEDEF(t, UNPACKM)
OXL_VEK_KERNEL_TYPEDEFS(s)
OXL_VEK_KERNEL_TYPEDEFS(d)
OXL_VEK_KERNEL_TYPEDEFS(c)
OXL_VEK_KERNEL_TYPEDEFS(z)

#define OXL_VEK_DECLARE_KERNEL(t, F, form, suffix)            \
  OXL_API void oxl_vek_kernel_##t##F##_##suffix OXL_VEK_PARAMS_##form(OXL_VEK_ELEM_##t, \
                                                                      OXL_VEK_PART_##t);
#define OXL_VEK_DECLARE_STUB(t, F, form, suffix, slot) \
  OXL_API void _vek##t##F##suffix OXL_VEK_STUB_PARAMS_##form(OXL_VEK_ELEM_##t, OXL_VEK_PART_##t);
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep)      \
  OXL_VEK_KERNELS_##slots(OXL_VEK_DECLARE_KERNEL, t, F, form)                     \
  extern OXL_API oxl_vek_##t##_##form##_kernel oxl_vek_kernel_##t##F##_ttab[3]; \
  extern OXL_API float oxl_vek_kernel_##t##F##_ctab[3];                           \
  OXL_VEK_STUBS_##t(OXL_VEK_DECLARE_STUB, t, F, form)
#include "oxl/vek_functions.def"
#undef OXL_VEK_FUNCTION
#undef OXL_VEK_DECLARE_KERNEL
#undef OXL_VEK_DECLARE_STUB

/* The processor generation of this build; always 0. */
OXL_API int dll_cpu_version(void);

OXL_EXTERN_C_END

#endif /* OXL_VEK_FUNCTIONS_H */
