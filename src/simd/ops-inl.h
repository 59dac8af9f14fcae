// The SIMD helper layer of the vector kernels, in namespace oxl::HWY_NAMESPACE.
//
// The kernels were designed around AVX-512 instructions that our targets lack or that differ
// between processors. Each of them is written here once, as a helper whose result is defined
// exactly and is the same, bit for bit, on AVX3, AVX2 and SCALAR, in both floating-point modes
// of the kernels (FTZ and DAZ both clear, or both set):
//
//   Fma, Fms, Fnma, Fnms     fused multiply-add forms              simd/fma-inl.h
//   GetExp, GetMant, Scalef  vgetexp, vgetmant, vscalef            simd/exponent-inl.h
//   RoundScale               vrndscale                             simd/round_scale-inl.h
//   RcpSeed, RcpSeedIndex    vrcp14 cut to a few bits              simd/reciprocal-inl.h
//   Rcp14, Rcp28             vrcp14, vrcp28                        simd/reciprocal-inl.h
//   Rsqrt14, Rsqrt28         vrsqrt14, vrsqrt28                    simd/reciprocal-inl.h
//   Exp2Fast                 vexp2ps                               simd/exp2-inl.h
//   LoadTable, Lookup        vpermps, vpermt2ps, vpermt2pd         simd/table-inl.h
//   LoadFloatTable, Lookup   float tables read into double lanes   simd/table-inl.h
//   Horner, Estrin           polynomials over Fma                  simd/poly-inl.h
//   LoadPartial, StorePartial  masked loads and stores of tails    simd/partial-inl.h
//
// Every helper has a scalar definition in simd/reference.h, which is also the tests' oracle.
// Include this header (or one of the parts) after hwy/highway.h or from a file compiled through
// hwy/foreach_target.h; each part has a per-target include guard.

#include "simd/exp2-inl.h"
#include "simd/exponent-inl.h"
#include "simd/fma-inl.h"
#include "simd/partial-inl.h"
#include "simd/poly-inl.h"
#include "simd/reciprocal-inl.h"
#include "simd/round_scale-inl.h"
#include "simd/table-inl.h"
