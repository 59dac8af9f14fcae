// The display names of the list's functions ("vsExp"), as error records and the messages carry
// them: one constant per function, made from the list, so that a kernel names its function in
// the list's own spelling and a misspelt name does not compile.
#pragma once

namespace oxl::vek::names {

#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep) \
  inline constexpr char t##F[] = "v" #t #F;
#include "oxl/vek_functions.def"
#undef OXL_VEK_FUNCTION

}  // namespace oxl::vek::names

// The name of real function F for the element type T (float or double).
#define OXL_VEK_REAL_NAME(T, F) (sizeof(T) == 4 ? ::oxl::vek::names::s##F : ::oxl::vek::names::d##F)
