// Bodies of the Ln, Log10 and Log1p kernels. Re-included once per SIMD target.
//
// The reciprocal kernels (every double kernel, the float HA kernels and float Log1p) cut 1/v to a
// few significant bits: c = 2^k (1 + j / N), N = 16 for double and 32 for float. Then v c - 1 = r
// is exact (c has at most 6 significant bits), |r| <= 2^-5 (2^-6 for float), and
//   ln v = -k ln 2 - ln(1 + j / N) + ln(1 + r),
// with -ln(1 + j / N) read from a table in registers by the fraction bits j of c, and ln(1 + r)
// a short polynomial. In the upper half of the table (1 + j / N >= 3/2) the entry is
// -ln((1 + j / N) / 2) and k is one larger, which keeps entries below 0.41 in magnitude and makes
// the result near 1 come out of r alone, without cancellation. HA kernels carry the table and
// e ln 2 in two parts, with e ln2hi + T_hi exact, and sum them to twice the precision.
//
// v is taken as it is (x, or 1 + x for Log1p) as long as c is a normal number: v within
// [2^-126, 2^126] (float) or [2^-1022, 2^1022] (double). Blocks holding other values run the
// reduction a second time on the mantissa of v in [1/2, 1), which gives the same bits where both
// apply and also serves denormals and the top binade. Zeros, negative numbers, infinities and NaNs
// need no test of their own: they make the exponent or the mantissa not finite, and that shows up
// as a NaN in a quantity the arithmetic forms anyway (the signal), which marks the lane rare.
//
// Float Ln and Log10 at LA and EP have no reciprocal: m in [3/4, 3/2) is cut into 16 intervals by
// its leading fraction bits, and a cubic (LA) or quadratic (EP) per interval gives ln(m) / (m - 1).

#include <limits>
#include <type_traits>

#if defined(OXL_VEK_KERNELS_LOG_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_LOG_INL_H_
#undef OXL_VEK_KERNELS_LOG_INL_H_
#else
#define OXL_VEK_KERNELS_LOG_INL_H_
#endif

#include "vek/frame/kernel-inl.h"
#include "simd/fma-inl.h"
#include "simd/exponent-inl.h"
#include "simd/poly-inl.h"
#include "simd/reciprocal-inl.h"
#include "simd/table-inl.h"
#include "vek/kernels/log_rare.h"
#include "vek/kernels/log_tables.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

using vek::LogFunction;
enum class LogLevel { kHA, kLA, kEP };

namespace log_detail {

using simd::MantissaInterval;
using simd::MantissaSign;

template <class T>
struct Consts;

template <>
struct Consts<float> {
  static constexpr int kCutBits = 5;
  static constexpr float kLn2Hi = 0x1.62e4p-1f;         // 0x3F317200: e ln2hi exact for |e| < 2^8
  static constexpr float kLn2Lo = 0x1.7f7d1cp-20f;      // 0x35BFBE8E
  static constexpr float kLn2 = 0x1.62e430p-1f;         // 0x3F317218
  static constexpr float kLog10Of2 = 0x1.344136p-2f;    // 0x3E9A209B
  static constexpr float kLog10OfEHi = 0x1.bcb7b2p-2f;  // 0x3EDE5BD9
  static constexpr float kLog10OfELo = -0x1.5b235ep-27f;
  static constexpr const float* kTableHi = vek::log_tables::kLnRcp32FHi;
  static constexpr const float* kTableLo = vek::log_tables::kLnRcp32FLo;
  static constexpr const float* kTable = vek::log_tables::kLnRcp32F;
};

template <>
struct Consts<double> {
  static constexpr int kCutBits = 4;
  static constexpr double kLn2Hi = 0x1.62e42fefa0000p-1;  // e ln2hi exact for |e| < 2^16
  static constexpr double kLn2Lo = 0x1.cf79abc9e0000p-40;
  static constexpr double kLn2 = 0x1.62e42fefa39efp-1;
  static constexpr double kLog10OfEHi = 0x1.bcb7b1526e50ep-2;
  static constexpr double kLog10OfELo = 0x1.95355baaafad3p-57;
  static constexpr const double* kTableHi = vek::log_tables::kLnRcp16DHi;
  static constexpr const double* kTableLo = vek::log_tables::kLnRcp16DLo;
  static constexpr const double* kTable = vek::log_tables::kLnRcp16D;
};

// ln(1 + r) - r, the polynomial part of each level, r^2 q(r).
template <class T, LogLevel kLevel>
struct Tail;

// |r| <= 2^-5; degree 9, in pairs with r^2 and r^4.
template <>
struct Tail<double, LogLevel::kHA> {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    return hn::Mul(r2, Estrin(d, r, r2, -0.4999999999999968, 0.33333333333332005,
                              -0.2500000000437373, 0.20000000009280938, -0.16666650546695666,
                              0.14285690939597326, -0.125220000081181, 0.11135561406034511));
  }
};
// LA keeps the HA polynomial: below degree 9 the error near 1, where the result is r and the
// polynomial, exceeds the level's 4 ulp.
template <>
struct Tail<double, LogLevel::kLA> : Tail<double, LogLevel::kHA> {};
template <>
struct Tail<double, LogLevel::kEP> {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    return hn::Mul(r2, Estrin(d, r, r2, -0.4999999502783749, 0.33333322249022734,
                              -0.2502036072575226, 0.20024438577708045));
  }
};
// |r| <= 2^-6.
template <>
struct Tail<float, LogLevel::kHA> {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    return hn::Mul(r2, Horner(d, r, -0.5f, 0.3333825469017029f, -0.2500615119934082f));
  }
};
template <>
struct Tail<float, LogLevel::kLA> : Tail<float, LogLevel::kHA> {};
// -r^2 / 2 alone leaves r^3 / 3, below 2^-13 relative.
template <>
struct Tail<float, LogLevel::kEP> {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V /*r*/, V r2) {
    return hn::Mul(r2, hn::Set(d, -0.5f));
  }
};

// v = 2^e (1 + r) / c, with c a table point: e as a float, r exact, the table index.
template <class D>
struct Reduced {
  hn::VFromD<D> e;
  hn::VFromD<D> r;
  hn::VFromD<hn::RebindToUnsigned<D>> index;
};

// v c - 1 and the power of two, for v = 2^e0 v' with c the cut reciprocal of v.
template <class D>
HWY_INLINE Reduced<D> Reduce(D d, hn::VFromD<D> v, hn::VFromD<D> c, hn::VFromD<D> e0) {
  using T = hn::TFromD<D>;
  constexpr int kCut = Consts<T>::kCutBits;
  const hn::RebindToUnsigned<D> du;
  using U = hn::TFromD<decltype(du)>;
  Reduced<D> out;
  out.index = RcpSeedIndex<kCut>(d, c);
  const auto upper = hn::RebindMask(d, hn::TestBit(out.index, hn::Set(du, U{1} << (kCut - 1))));
  const auto e = hn::Sub(e0, GetExp(d, c));
  out.e = hn::IfThenElse(upper, hn::Sub(e, hn::Set(d, T(1))), e);
  out.r = Fma(d, v, c, hn::Set(d, T(-1)));
  return out;
}

// A result and the signal: NaN exactly in the lanes for the rare routine.
template <class D>
struct Value {
  hn::VFromD<D> result;
  hn::VFromD<D> signal;
};

template <class T, LogLevel kLevel>
struct RcpTables {
  using D = hn::ScalableTag<T>;
  static constexpr size_t kEntries = size_t{1} << Consts<T>::kCutBits;
  RegisterTable<D, kEntries> one = LoadTable<kEntries>(D(), Consts<T>::kTable);
};
template <class T>
struct RcpTables<T, LogLevel::kHA> {
  using D = hn::ScalableTag<T>;
  static constexpr size_t kEntries = size_t{1} << Consts<T>::kCutBits;
  RegisterTable<D, kEntries> hi = LoadTable<kEntries>(D(), Consts<T>::kTableHi);
  RegisterTable<D, kEntries> lo = LoadTable<kEntries>(D(), Consts<T>::kTableLo);
};

// ln v (log10 v) from the reduction, at HA: the sum H + r of e ln2hi + T_hi (exact) and r is
// kept to twice the precision by a fast two-sum (|H| >= |r| whenever H is not 0: the smallest
// non-zero entry exceeds the bound on r); its error t is the signal, NaN when e is infinite or r
// a NaN. r_lo is a low part of r (Log1p), zero otherwise.
template <LogFunction kFunc, class D, class Tables>
HWY_INLINE Value<D> Finish(D d, const Tables& tables, const Reduced<D>& red, hn::VFromD<D> r_lo,
                           std::integral_constant<LogLevel, LogLevel::kHA>) {
  using T = hn::TFromD<D>;
  using C = Consts<T>;
  const auto r = red.r;
  const auto big = Fma(d, red.e, hn::Set(d, C::kLn2Hi), Lookup(d, tables.hi, red.index));
  const auto s = hn::Add(big, r);
  const auto t = hn::Sub(r, hn::Sub(s, big));
  const auto low = hn::Add(Fma(d, red.e, hn::Set(d, C::kLn2Lo), Lookup(d, tables.lo, red.index)),
                           hn::Add(t, r_lo));
  const auto lo = hn::Add(low, Tail<T, LogLevel::kHA>::Of(d, r, hn::Mul(r, r)));
  if constexpr (kFunc != LogFunction::kLog10) {
    return {hn::Add(s, lo), t};
  } else {
    // (s + lo) log10(e) with s log10(e)hi exact as a pair.
    const auto lg_hi = hn::Set(d, C::kLog10OfEHi);
    const auto hi = hn::Mul(s, lg_hi);
    const auto err = Fms(d, s, lg_hi, hi);
    return {hn::Add(hi, Fma(d, lo, lg_hi, Fma(d, s, hn::Set(d, C::kLog10OfELo), err))), t};
  }
}

// LA and EP: one-part table and ln 2, one rounding per step. The signal q - q is NaN when q,
// which holds e and r, is infinite or NaN.
template <LogFunction kFunc, class D, class Tables, LogLevel kLevel>
HWY_INLINE Value<D> Finish(D d, const Tables& tables, const Reduced<D>& red, hn::VFromD<D> /*r_lo*/,
                           std::integral_constant<LogLevel, kLevel>) {
  using T = hn::TFromD<D>;
  using C = Consts<T>;
  const auto r = red.r;
  const auto q = hn::Add(Fma(d, red.e, hn::Set(d, C::kLn2), Lookup(d, tables.one, red.index)), r);
  const auto p = Tail<T, kLevel>::Of(d, r, hn::Mul(r, r));
  const auto signal = hn::Sub(q, q);
  if constexpr (kFunc != LogFunction::kLog10) {
    return {hn::Add(q, p), signal};
  } else {
    const auto lg = hn::Set(d, T(C::kLog10OfEHi));
    return {Fma(d, q, lg, hn::Mul(p, lg)), signal};
  }
}

}  // namespace log_detail

// The reciprocal kernels: every double kernel, float HA and float Log1p.
template <class T, LogFunction kFunc, LogLevel kLevel>
struct LogRcpBody : UnaryRealBody<T> {
  const char* name = kFunc == LogFunction::kLn      ? (sizeof(T) == 4 ? "vsLn" : "vdLn")
                     : kFunc == LogFunction::kLog10 ? (sizeof(T) == 4 ? "vsLog10" : "vdLog10")
                                                    : (sizeof(T) == 4 ? "vsLog1p" : "vdLog1p");
  log_detail::RcpTables<T, kLevel> tables;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using C = log_detail::Consts<T>;
    using Level = std::integral_constant<LogLevel, kLevel>;
    const auto x = in[0];
    const auto zero = hn::Zero(d);
    // Log1p takes the logarithm of v = 1 + x, whose rounding error lo is exact (the larger
    // term first: max(x, 1) is the larger in magnitude for every x >= -1, and below that the
    // result is a NaN anyway); lo / v enters r as lo c.
    auto v = x;
    auto lo = zero;
    if constexpr (kFunc == LogFunction::kLog1p) {
      const auto one = hn::Set(d, T(1));
      v = hn::Add(one, x);
      lo = hn::Sub(hn::Min(x, one), hn::Sub(v, hn::Max(x, one)));
    }
    const auto c = RcpSeed<C::kCutBits>(d, v);
    const auto fast = hn::And(hn::Ge(c, hn::Set(d, std::numeric_limits<T>::min())),
                              hn::Le(c, hn::Set(d, std::numeric_limits<T>::max())));
    auto value = Evaluate(d, v, c, zero, lo, Level());
    if (!hn::AllTrue(d, fast)) [[unlikely]] {
      // The mantissa in [1/2, 1) and its power of two. Log1p drops lo here: v is beyond 2^126
      // (2^1022), where lo / v is far below the last place of ln v.
      const auto m =
          GetMant<simd::MantissaInterval::kHalfToOne, simd::MantissaSign::kNaNIfNegative>(d, v);
      const auto e0 = hn::Add(GetExp(d, v), hn::Set(d, T(1)));
      const auto again = Evaluate(d, m, RcpSeed<C::kCutBits>(d, m), e0, zero, Level());
      value.result = hn::IfThenElse(fast, value.result, again.result);
      value.signal = hn::IfThenElse(fast, value.signal, again.signal);
    }
    rare[0] = hn::IsNaN(value.signal);
    // log1p(-0) is -0; every other result has the sign of x already.
    out[0] = kFunc == LogFunction::kLog1p ? hn::CopySign(value.result, x) : value.result;
  }

  static int32_t Rare(const T* a, T* r) { return vek::LogRare<kFunc>(a, r); }

 private:
  template <class D, class Level>
  HWY_INLINE log_detail::Value<D> Evaluate(D d, hn::VFromD<D> v, hn::VFromD<D> c, hn::VFromD<D> e0,
                                           hn::VFromD<D> lo, Level level) const {
    auto red = log_detail::Reduce(d, v, c, e0);
    auto r_lo = hn::Zero(d);
    if constexpr (kFunc == LogFunction::kLog1p) {
      const auto lo_c = hn::Mul(lo, c);
      if constexpr (kLevel == LogLevel::kHA) {
        // r + lo c as a pair: |r| >= |lo c| unless r is 0.
        const auto sum = hn::Add(red.r, lo_c);
        r_lo = hn::Add(hn::Sub(red.r, sum), lo_c);
        red.r = sum;
      } else {
        red.r = hn::Add(red.r, lo_c);
      }
    }
    return log_detail::Finish<kFunc>(d, tables, red, r_lo, level);
  }
};

// Float Ln and Log10, LA and EP: ln m / (m - 1) by a cubic or a quadratic over 16 intervals of m.
template <LogFunction kFunc, LogLevel kLevel>
struct LogIntervalBody : UnaryRealBody<float> {
  static constexpr int kDegree = kLevel == LogLevel::kLA ? 3 : 2;
  using D = hn::ScalableTag<float>;
  const char* name = kFunc == LogFunction::kLn ? "vsLn" : "vsLog10";
  struct Rows {
    RegisterTable<D, 16> row[kDegree + 1];
    Rows() {
      for (int k = 0; k <= kDegree; ++k) row[k] = LoadTable<16>(D(), Row(k));
    }
  } rows;

  template <class DD>
  HWY_INLINE void operator()(DD d, const hn::Vec<DD>* in, hn::Vec<DD>* out,
                             hn::Mask<DD>* rare) const {
    using log_detail::MantissaInterval;
    using log_detail::MantissaSign;
    const auto x = in[0];
    const auto m =
        GetMant<MantissaInterval::kThreeQuartersToThreeHalves, MantissaSign::kNaNIfNegative>(d, x);
    const auto e = hn::Sub(GetExp(d, x), GetExp(d, m));
    const auto r = hn::Sub(m, hn::Set(d, 1.0f));
    // The four leading fraction bits of m pick the interval; Lookup reads the low four.
    const auto index = hn::ShiftRight<19>(hn::BitCast(hn::RebindToUnsigned<DD>(), m));
    auto p = Lookup(d, rows.row[kDegree], index);
    for (int k = kDegree - 1; k >= 0; --k) p = Fma(d, p, r, Lookup(d, rows.row[k], index));
    const float scale = kFunc == LogFunction::kLn ? log_detail::Consts<float>::kLn2
                                                  : log_detail::Consts<float>::kLog10Of2;
    const auto q = hn::Mul(e, hn::Set(d, scale));
    // q - q is NaN where e is not finite: zeros, infinities, NaNs, and negative x (m is a NaN).
    rare[0] = hn::IsNaN(hn::Sub(q, q));
    out[0] = Fma(d, p, r, q);
  }

  static int32_t Rare(const float* a, float* r) { return vek::LogRare<kFunc>(a, r); }

 private:
  static constexpr const float* Row(int k) {
    using namespace vek::log_tables;
    if constexpr (kFunc == LogFunction::kLn && kLevel == LogLevel::kLA) {
      constexpr const float* kRows[] = {kLnLAC0, kLnLAC1, kLnLAC2, kLnLAC3};
      return kRows[k];
    } else if constexpr (kFunc == LogFunction::kLn) {
      constexpr const float* kRows[] = {kLnEPC0, kLnEPC1, kLnEPC2};
      return kRows[k];
    } else if constexpr (kLevel == LogLevel::kLA) {
      constexpr const float* kRows[] = {kLog10LAC0, kLog10LAC1, kLog10LAC2, kLog10LAC3};
      return kRows[k];
    } else {
      constexpr const float* kRows[] = {kLog10EPC0, kLog10EPC1, kLog10EPC2};
      return kRows[k];
    }
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_LOG_INL_H_
