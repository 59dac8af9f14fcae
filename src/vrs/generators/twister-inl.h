// Per-target pieces shared by the twister generators: output sinks that map 32-bit words to
// the three output forms, and the three-phase block scheme (drain, whole vectors, tail).
//
// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_VRS_TWISTER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VRS_TWISTER_INL_H_
#undef OXL_VRS_TWISTER_INL_H_
#else
#define OXL_VRS_TWISTER_INL_H_
#endif

#include <cmath>
#include <cstddef>
#include <cstdint>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Words as they are.
struct WordSink {
  uint32_t* HWY_RESTRICT r;
  void One(uint32_t w, size_t i) const { r[i] = w; }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V w, size_t i) const {
    hn::StoreU(w, d, r + i);
  }
#endif
};

#if HWY_TARGET != HWY_SCALAR
// The lower and upper halves of a vector of words w, each FMA(word as unsigned, scale, base) in
// double. w - 2^31 fits a signed lane; its exact double plus 2^31 is the word exactly.
template <class D, class V>
HWY_INLINE auto UnsignedFma(D d, V w, double scale, double base) {
  const hn::Half<D> dh;
  const hn::Rebind<int32_t, decltype(dh)> di;
  const hn::Rebind<double, decltype(dh)> dd;
  const V flipped = hn::Xor(w, hn::Set(d, 0x80000000u));
  const auto bias = hn::Set(dd, 2147483648.0);
  const auto lo = hn::Add(hn::PromoteTo(dd, hn::BitCast(di, hn::LowerHalf(dh, flipped))), bias);
  const auto hi = hn::Add(hn::PromoteTo(dd, hn::BitCast(di, hn::UpperHalf(dh, flipped))), bias);
  const auto s = hn::Set(dd, scale), b = hn::Set(dd, base);
  struct Halves {
    hn::VFromD<decltype(dd)> lo, hi;
  };
  return Halves{hn::MulAdd(lo, s, b), hn::MulAdd(hi, s, b)};
}
#endif

// FMA(word as unsigned, scale, base) in double.
struct UnsignedDoubleSink {
  double* HWY_RESTRICT r;
  double scale, base;
  void One(uint32_t w, size_t i) const { r[i] = std::fma(static_cast<double>(w), scale, base); }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V w, size_t i) const {
    const hn::Rebind<double, hn::Half<D>> dd;
    const auto v = UnsignedFma(d, w, scale, base);
    hn::StoreU(v.lo, dd, r + i);
    hn::StoreU(v.hi, dd, r + i + hn::Lanes(dd));
  }
#endif
};

// The same FMA in double, rounded to float.
struct UnsignedDoubleToFloatSink {
  float* HWY_RESTRICT r;
  double scale, base;
  void One(uint32_t w, size_t i) const {
    r[i] = static_cast<float>(std::fma(static_cast<double>(w), scale, base));
  }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V w, size_t i) const {
    const hn::Rebind<float, hn::Half<D>> df;
    const auto v = UnsignedFma(d, w, scale, base);
    hn::StoreU(hn::DemoteTo(df, v.lo), df, r + i);
    hn::StoreU(hn::DemoteTo(df, v.hi), df, r + i + hn::Lanes(df));
  }
#endif
};

// Float FMA(word as unsigned rounded to float, scale, base).
struct UnsignedFloatSink {
  float* HWY_RESTRICT r;
  float scale, base;
  void One(uint32_t w, size_t i) const { r[i] = std::fma(static_cast<float>(w), scale, base); }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V w, size_t i) const {
    // hi 2^16 and lo are exact in float; their sum rounds once, as the direct conversion does.
    const hn::Rebind<int32_t, D> di;
    const hn::Rebind<float, D> df;
    const auto hi = hn::ConvertTo(df, hn::BitCast(di, hn::ShiftRight<16>(w)));
    const auto lo = hn::ConvertTo(df, hn::BitCast(di, hn::And(w, hn::Set(d, 0xFFFFu))));
    const auto f = hn::Add(hn::Mul(hi, hn::Set(df, 65536.0f)), lo);
    hn::StoreU(hn::MulAdd(f, hn::Set(df, scale), hn::Set(df, base)), df, r + i);
  }
#endif
};

// FMA(word as signed, scale, centre) in double.
struct SignedDoubleSink {
  double* HWY_RESTRICT r;
  double scale, base;
  void One(uint32_t w, size_t i) const {
    r[i] = std::fma(static_cast<double>(static_cast<int32_t>(w)), scale, base);
  }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V w, size_t i) const {
    const hn::Half<D> dh;
    const hn::Rebind<int32_t, decltype(dh)> di;
    const hn::Rebind<double, decltype(dh)> dd;
    const auto lo = hn::PromoteTo(dd, hn::BitCast(di, hn::LowerHalf(dh, w)));
    const auto hi = hn::PromoteTo(dd, hn::BitCast(di, hn::UpperHalf(dh, w)));
    const auto s = hn::Set(dd, scale), b = hn::Set(dd, base);
    hn::StoreU(hn::MulAdd(lo, s, b), dd, r + i);
    hn::StoreU(hn::MulAdd(hi, s, b), dd, r + i + hn::Lanes(dd));
  }
#endif
};

// Float FMA(word as signed rounded to float, scale, centre).
struct SignedFloatSink {
  float* HWY_RESTRICT r;
  float scale, base;
  void One(uint32_t w, size_t i) const {
    r[i] = std::fma(static_cast<float>(static_cast<int32_t>(w)), scale, base);
  }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V w, size_t i) const {
    const hn::Rebind<int32_t, D> di;
    const hn::Rebind<float, D> df;
    const auto f = hn::ConvertTo(df, hn::BitCast(di, w));
    hn::StoreU(hn::MulAdd(f, hn::Set(df, scale), hn::Set(df, base)), df, r + i);
  }
#endif
};

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#endif  // include guard
