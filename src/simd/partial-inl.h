// Loads and stores of the first `count` lanes of a vector, for the kernels' tails: the tail runs
// the block's arithmetic on a partial vector, so that its results are bitwise those of the block.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_PARTIAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_PARTIAL_INL_H_
#undef OXL_SIMD_PARTIAL_INL_H_
#else
#define OXL_SIMD_PARTIAL_INL_H_
#endif

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// LoadPartial(d, p, count): lanes below `count` from p[0 .. count-1] (unaligned), the others
// zero. Memory at p[count] and beyond is never touched: AVX3 and AVX2 use masked loads, which
// neither read nor fault on masked-off elements, and SCALAR reads only when count is 1 or more.
// A count of Lanes(d) or more loads the whole vector.
template <class D>
HWY_API hn::VFromD<D> LoadPartial(D d, const hn::TFromD<D>* HWY_RESTRICT p, size_t count) {
  if (count >= hn::Lanes(d)) return hn::LoadU(d, p);
#if HWY_TARGET == HWY_SCALAR
  return hn::Zero(d);
#else
  return hn::MaskedLoad(hn::FirstN(d, count), d, p);
#endif
}

// StorePartial(d, v, p, count): stores lanes below `count` to p[0 .. count-1] and touches no other
// memory. A count of Lanes(d) or more stores the whole vector.
template <class D>
HWY_API void StorePartial(D d, hn::VFromD<D> v, hn::TFromD<D>* HWY_RESTRICT p, size_t count) {
  if (count >= hn::Lanes(d)) {
    hn::StoreU(v, d, p);
    return;
  }
#if HWY_TARGET != HWY_SCALAR
  hn::BlendedStore(v, hn::FirstN(d, count), d, p);
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_PARTIAL_INL_H_
