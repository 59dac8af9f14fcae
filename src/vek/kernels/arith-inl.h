// Bodies of the arithmetic kernels: element-wise add, subtract, multiply, square, magnitude and
// complex conjugate, for every element type. Re-included once per SIMD target.

#if defined(OXL_VEK_KERNELS_ARITH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ARITH_INL_H_
#undef OXL_VEK_KERNELS_ARITH_INL_H_
#else
#define OXL_VEK_KERNELS_ARITH_INL_H_
#endif

#include <cmath>

#include "vek/frame/kernel-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// The operations on vectors and, for the rare path, on scalars alike.
struct AddOp {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return a + b;
  }
};

struct SubOp {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return a - b;
  }
};

struct MulOp {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return a * b;
  }
};

// a op b, part by part. With kOverflowCheck (complex addition and subtraction), a lane whose
// result has an infinite part is recomputed in scalar code, and reported as an overflow when no
// input part was infinite already. Parts are treated alike, so complex elements stay interleaved.
template <class E, class Op, size_t kBlockSize, bool kOverflowCheck = false>
struct PartwiseBody {
  using In = E;
  using Out = E;
  static constexpr size_t kInputs = 2;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = kBlockSize;
  static constexpr vek::Layout kLayout = vek::Layout::kInterleaved;
  static constexpr bool kRare = kOverflowCheck;
  static constexpr bool kBoundByMemory = true;
  static constexpr size_t kParts = vek::Element<E>::kParts;
  const char* name = nullptr;

  template <class D>
  HWY_INLINE void operator()(D, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    for (size_t p = 0; p < kParts; ++p) out[p] = Op()(in[p], in[kParts + p]);
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    (*this)(d, in, out);
    for (size_t p = 0; p < kParts; ++p) rare[p] = hn::IsInf(out[p]);
  }

  static int32_t Rare(const E* a, const E* b, E* r) {
    r->re = Op()(a->re, b->re);
    r->im = Op()(a->im, b->im);
    const bool out_inf = std::isinf(r->re) || std::isinf(r->im);
    const bool in_inf =
        std::isinf(a->re) || std::isinf(a->im) || std::isinf(b->re) || std::isinf(b->im);
    return out_inf && !in_inf ? vek_status_overflow : vek_status_ok;
  }
};

// Unary element-wise bodies of real types.
template <class E, class Fn, size_t kBlockSize = 32>
struct UnaryBody {
  using In = E;
  using Out = E;
  static constexpr size_t kInputs = 1;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = kBlockSize;
  static constexpr vek::Layout kLayout = vek::Layout::kInterleaved;
  static constexpr bool kRare = false;
  static constexpr bool kBoundByMemory = true;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    for (size_t p = 0; p < vek::Element<E>::kParts; ++p) out[p] = Fn()(d, in[p], p);
  }
};

struct SquareFn {
  template <class D, class V>
  HWY_INLINE V operator()(D, V x, size_t) const {
    return hn::Mul(x, x);
  }
};

// The sign bit cleared by a logical AND: no arithmetic, so a signalling NaN stays one.
struct MagnitudeFn {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V x, size_t) const {
    const hn::RebindToUnsigned<D> du;
    using U = hn::TFromD<decltype(du)>;
    const auto mask = hn::Set(du, static_cast<U>(~U{0} >> 1));
    return hn::BitCast(d, hn::And(hn::BitCast(du, x), mask));
  }
};

// Conjugate: the sign bit of every imaginary part flipped by XOR. Registers hold the interleaved
// layout, so imaginary parts sit in the odd lanes; on a one-lane target the second vector of the
// pair is the imaginary part.
struct ConjugateFn {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V x, size_t part) const {
    const hn::RebindToUnsigned<D> du;
    using U = hn::TFromD<decltype(du)>;
    const auto sign = hn::Set(du, static_cast<U>(~(~U{0} >> 1)));
    if constexpr (hn::MaxLanes(D()) == 1) {
      return part == 1 ? hn::BitCast(d, hn::Xor(hn::BitCast(du, x), sign)) : x;
    } else {
      const auto odd_signs = hn::OddEven(sign, hn::Zero(du));
      return hn::BitCast(d, hn::Xor(hn::BitCast(du, x), odd_signs));
    }
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ARITH_INL_H_
