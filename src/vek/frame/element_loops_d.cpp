// Element-loop kernels of the type letter d.
#define OXL_VEK_IF_s(row)
#define OXL_VEK_IF_d(row) row
#define OXL_VEK_IF_c(row)
#define OXL_VEK_IF_z(row)
#include "vek/frame/element_loops.inc"
