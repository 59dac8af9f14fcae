// Bodies of LinearFrac: r = (scalea a + shifta) / (scaleb b + shiftb), with no fused operations
// and no statuses. The denominator's reciprocal is an approximation refined by one step, and
// that refinement is the whole accuracy of the function. Re-included once per SIMD target.

#if defined(OXL_VEK_KERNELS_LINEAR_FRAC_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_LINEAR_FRAC_INL_H_
#undef OXL_VEK_KERNELS_LINEAR_FRAC_INL_H_
#else
#define OXL_VEK_KERNELS_LINEAR_FRAC_INL_H_
#endif

#include "vek/frame/kernel-inl.h"
#include "simd/reciprocal-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// float: a reciprocal good to 17 bits and one Newton step, y = 2 y0 - d y0 y0.
struct FloatReciprocal {
  template <class D>
  HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> den) const {
    const auto y0 = Rcp14(d, den);
    return hn::Sub(hn::Add(y0, y0), hn::Mul(hn::Mul(den, y0), y0));
  }
};

// double: a 12-bit-class seed made in float arithmetic from the top 23 fraction bits of d, with
// the exponent and sign patched in by integer arithmetic on the high word (which wraps for
// zeros, denormals and the largest exponents: what comes out there is what the recipe gives),
// then one third-order step y' = y + y (e + e^2), e = 1 - d y.
struct DoubleReciprocal {
  template <class D>
  HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> den) const {
    const hn::RebindToUnsigned<D> du;
    const hn::Rebind<uint32_t, D> du32;
    const hn::Rebind<float, D> df;
    const auto bits = hn::BitCast(du, den);
    const auto high = hn::TruncateTo(du32, hn::ShiftRight<32>(bits));
    const auto fraction = hn::TruncateTo(du32, hn::ShiftRight<29>(bits));
    const auto m = hn::Or(hn::And(fraction, hn::Set(du32, 0x7FFFFFu)), hn::Set(du32, 0x3F800000u));
    const auto rcp = hn::BitCast(du32, Rcp14(df, hn::BitCast(df, m)));
    const auto y_high = hn::Sub(hn::Add(hn::ShiftRight<3>(rcp), hn::Set(du32, 0x77F00000u)),
                                hn::And(high, hn::Set(du32, 0xFFF00000u)));
    const auto y = hn::BitCast(d, hn::ShiftLeft<32>(hn::PromoteTo(du, y_high)));
    const auto one = hn::Set(d, 1.0);
    const auto e = hn::Sub(one, hn::Mul(den, y));
    return hn::Add(y, hn::Mul(y, hn::Add(e, hn::Mul(e, e))));
  }
};

template <class T>
using ReciprocalOf = std::conditional_t<sizeof(T) == 4, FloatReciprocal, DoubleReciprocal>;

// What the kernel template asks of every LinearFrac body: real elements, one result, no rare lanes.
template <class T, size_t kInputCount>
struct RealBody {
  using In = T;
  using Out = T;
  static constexpr size_t kInputs = kInputCount;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = 16;
  static constexpr vek::Layout kLayout = vek::Layout::kSplit;
  static constexpr bool kRare = false;
};

// Both coefficients of the denominator in play: (scalea a + shifta) y(scaleb b + shiftb).
template <class T>
struct FractionBody : RealBody<T, 2> {
  T scalea, shifta, scaleb, shiftb;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    const auto num = hn::Add(hn::Mul(hn::Set(d, scalea), in[0]), hn::Set(d, shifta));
    const auto den = hn::Add(hn::Mul(hn::Set(d, scaleb), in[1]), hn::Set(d, shiftb));
    out[0] = hn::Mul(num, ReciprocalOf<T>()(d, den));
  }
};

// scalea == 0: shifta y(scaleb b + shiftb); a is not read.
template <class T>
struct ReciprocalBody : RealBody<T, 1> {
  T shifta, scaleb, shiftb;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    const auto den = hn::Add(hn::Mul(hn::Set(d, scaleb), in[0]), hn::Set(d, shiftb));
    out[0] = hn::Mul(hn::Set(d, shifta), ReciprocalOf<T>()(d, den));
  }
};

// scaleb == 0: (scalea a + shifta) q with q = 1 / shiftb divided once; b is not read.
template <class T>
struct AffineBody : RealBody<T, 1> {
  T scalea, shifta, q;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    const auto num = hn::Add(hn::Mul(hn::Set(d, scalea), in[0]), hn::Set(d, shifta));
    out[0] = hn::Mul(num, hn::Set(d, q));
  }
};

// The three cases are settled once, before any element. A NaN coefficient is not zero.
template <class T>
HWY_INLINE void LinearFrac(int n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb,
                           T* r) {
  if (scaleb == T(0)) {
    const volatile T one = T(1);  // divided at run time, under the kernel's rounding
    const T q = one / shiftb;
    if (scalea == T(0)) {
      // Neither array is read: the caller may pass none, and an infinite a[i] must not turn
      // 0 a[i] into a NaN.
      const T value = shifta * q;
      for (int i = 0; i < n; ++i) r[i] = value;
      return;
    }
    RunUnary(AffineBody<T>{{}, scalea, shifta, q}, n, a, r);
  } else if (scalea == T(0)) {
    RunUnary(ReciprocalBody<T>{{}, shifta, scaleb, shiftb}, n, b, r);
  } else {
    RunBinary(FractionBody<T>{{}, scalea, shifta, scaleb, shiftb}, n, a, b, r);
  }
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_LINEAR_FRAC_INL_H_
