#include "vek/kernels/complex_func_rare.h"

#include "vek/frame/element_loop.h"
#include "vek/frame/scalar_layer.h"

namespace oxl::vek {

// The element loop's extended precision holds every level's bound, and its statuses are the
// contract: a rare lane is one element of the loop.
#define OXL_COMPLEX_FUNC_RARE(name, F, In, Out) \
  int32_t name(const In* a, Out* r) { return loop::ElementRare<scalar::F>(a, r); }
OXL_COMPLEX_FUNC_RARE(vcabs_cout_rare, Abs, oxl_complex8, float)
OXL_COMPLEX_FUNC_RARE(vzabs_cout_rare, Abs, oxl_complex16, double)
OXL_COMPLEX_FUNC_RARE(vcarg_cout_rare, Arg, oxl_complex8, float)
OXL_COMPLEX_FUNC_RARE(vzarg_cout_rare, Arg, oxl_complex16, double)
OXL_COMPLEX_FUNC_RARE(vccis_cout_rare, CIS, float, oxl_complex8)
OXL_COMPLEX_FUNC_RARE(vzcis_cout_rare, CIS, double, oxl_complex16)
OXL_COMPLEX_FUNC_RARE(vcexp_cout_rare, Exp, oxl_complex8, oxl_complex8)
OXL_COMPLEX_FUNC_RARE(vzexp_cout_rare, Exp, oxl_complex16, oxl_complex16)
OXL_COMPLEX_FUNC_RARE(vcln_cout_rare, Ln, oxl_complex8, oxl_complex8)
OXL_COMPLEX_FUNC_RARE(vzln_cout_rare, Ln, oxl_complex16, oxl_complex16)
OXL_COMPLEX_FUNC_RARE(vcsqrt_cout_rare, Sqrt, oxl_complex8, oxl_complex8)
OXL_COMPLEX_FUNC_RARE(vzsqrt_cout_rare, Sqrt, oxl_complex16, oxl_complex16)
#undef OXL_COMPLEX_FUNC_RARE

}  // namespace oxl::vek
