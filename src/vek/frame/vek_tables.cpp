// The function tables, cost tables and entry stubs of every vector function, made from the list.
// A stub hands its arguments on unchanged to the kernel in its slot; compiled as a tail call it is
// a load of the slot and an indirect jump. Pack and Unpack stubs add the kernels' fifth argument.
#include "oxl/vek_functions.h"

#define OXL_VEK_ARGS_UNARY (n, a, r)
#define OXL_VEK_ARGS_BINARY (n, a, b, r)
#define OXL_VEK_ARGS_POWX (n, a, b, r)
#define OXL_VEK_ARGS_TWO (n, a, r1, r2)
#define OXL_VEK_ARGS_LINEARFRAC (n, a, b, scalea, shifta, scaleb, shiftb, r)
#define OXL_VEK_ARGS_TO_REAL (n, a, r)
#define OXL_VEK_ARGS_FROM_REAL (n, a, r)
#define OXL_VEK_ARGS_PACKI (n, a, incra, y, 1)
#define OXL_VEK_ARGS_PACKV (n, a, ia, y, 1)
#define OXL_VEK_ARGS_PACKM (n, a, ma, y, 1)
#define OXL_VEK_ARGS_UNPACKI (n, a, y, incry, 1)
#define OXL_VEK_ARGS_UNPACKV (n, a, y, iy, 1)
#define OXL_VEK_ARGS_UNPACKM (n, a, y, my, 1)

#define OXL_VEK_DEFINE_STUB(t, F, form, suffix, slot)                                         \
  OXL_API void _vek##t##F##suffix OXL_VEK_STUB_PARAMS_##form(OXL_VEK_ELEM_##t, OXL_VEK_PART_##t) { \
    oxl_vek_kernel_##t##F##_ttab[slot] OXL_VEK_ARGS_##form;                                   \
  }

#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep)                \
  OXL_API oxl_vek_##t##_##form##_kernel oxl_vek_kernel_##t##F##_ttab[3] = {               \
      OXL_VEK_KERNEL_NAME(t, F, OXL_VEK_SLOT0_##slots),                                     \
      OXL_VEK_KERNEL_NAME(t, F, OXL_VEK_SLOT1_##slots),                                     \
      OXL_VEK_KERNEL_NAME(t, F, OXL_VEK_SLOT2_##slots)};                                    \
  OXL_API float oxl_vek_kernel_##t##F##_ctab[3] = {cost_la##f, cost_ha##f, cost_ep##f};     \
  OXL_VEK_STUBS_##t(OXL_VEK_DEFINE_STUB, t, F, form)

extern "C" {

#include "oxl/vek_functions.def"

OXL_API int dll_cpu_version(void) { return 0; }

}  // extern "C"
