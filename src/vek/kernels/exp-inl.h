// Bodies of the Exp and Expm1 kernels. Re-included once per SIMD target.
//
// The table kernels reduce with a shifter S whose last place is 1/N: z = x log2(e) + S lands on
// the grid 1/N, so n = z - S is x / ln 2 on that grid, the low bits of z index a table of
// 2^(j/N), and the bits above are the power of two. What is left, r = x - n ln 2 in two parts,
// gives e^r by a short polynomial. The power of two goes into the table value's exponent field by
// an integer addition, which is exact because fast lanes stay in the normal range; lanes near
// overflow and underflow are marked rare and recomputed by the scalar routines.
//
// z rounds to nearest, so |r| <= ln 2 / 2N. The fast lanes' bounds keep |x log2(e)| below 126
// (float) and 1021 (double), so that n rounded to the grid stays at or above -126 (-1022) and the
// scaled table value normal.

#include <array>
#include <bit>
#include <type_traits>

#if defined(OXL_VEK_KERNELS_EXP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_EXP_INL_H_
#undef OXL_VEK_KERNELS_EXP_INL_H_
#else
#define OXL_VEK_KERNELS_EXP_INL_H_
#endif

#include "vek/frame/kernel-inl.h"
#include "simd/exp2-inl.h"
#include "simd/fma-inl.h"
#include "simd/pair-inl.h"
#include "simd/poly-inl.h"
#include "simd/round_scale-inl.h"
#include "simd/table-inl.h"
#include "vek/kernels/exp_rare.h"
#include "vek/kernels/exp_tables.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {
namespace exp_detail {

template <class T>
struct Consts;

template <>
struct Consts<float> {
  static constexpr float kLog2E = 0x1.715476p+0f;       // 0x3FB8AA3B
  static constexpr float kLn2Hi = 0x1.62e430p-1f;       // 0x3F317218
  static constexpr float kLn2Lo = -0x1.05c610p-29f;     // 0xB102E308
  static constexpr float kExpBound = 0x1.5d589ep+6f;    // 87.33654, 0x42AEAC4F
  static constexpr float kExpm1Bound = 0x1.5a92d6p+6f;  // 86.64339, 0x42AD496B
  // e^x - 1 rounds to -1 below -17.33; clamping x at -64 ln 2 keeps 2^k above 2^-66.
  static constexpr float kClampBelow = -45.0f;
  static constexpr int kMantissaBits = 23;
  static constexpr int kBias = 127;
};

template <>
struct Consts<double> {
  static constexpr double kLog2E = 0x1.71547652b82fep+0;
  static constexpr double kLn2Hi = 0x1.62e42fefa39efp-1;
  static constexpr double kLn2Lo = 0x1.abc9e3b39803fp-56;
  static constexpr double kExpBound = 0x1.61da04cbafe44p+9;  // 707.7032713517042
  static constexpr double kExpm1Bound = 0x1.61da04cbafe44p+9;
  // e^x - 1 rounds to -1 below -37.43; clamping x at -128 ln 2 keeps 2^k above 2^-130.
  static constexpr double kClampBelow = -89.0;
  static constexpr int kMantissaBits = 52;
  static constexpr int kBias = 1023;
};

// Shifters: 1.5 * 2^(mantissa bits - log2 N) puts the last place at 1/N, and the exponent bias
// added to it (bias units of 1) leaves the biased power of two in the bits above the table index:
// bits(z) << (mantissa bits - log2 N), masked to sign and exponent, is 2^k.
template <class T, int kEntries>
constexpr T Shifter() {
  if constexpr (sizeof(T) == 4) {
    // 1.5 * 2^18 + 127, 1.5 * 2^19 + 127, 1.5 * 2^20 + 127
    return kEntries == 32 ? 393343.0f : kEntries == 16 ? 786559.0f : 1572991.0f;
  } else if constexpr (kEntries == 16) {
    return 0x1.8000000003ff0p+48;  // 1.5 * 2^48 + 1023, bits 0x42F8000000003FF0
  } else {
    static_assert(kEntries == 8);
    return 0x1.8000000001ff8p+49;  // 1.5 * 2^49 + 1023, bits 0x4308000000001FF8
  }
}

// 2^(j/8) for floats: the even entries of the 16-entry table, T_hi and T_lo alike.
template <const float* kSixteen>
struct EvenEntries {
  static constexpr std::array<float, 8> Make() {
    std::array<float, 8> out{};
    for (int j = 0; j < 8; ++j) out[j] = kSixteen[2 * j];
    return out;
  }
  alignas(64) static constexpr std::array<float, 8> kValues = Make();
};

template <class T, int kEntries>
constexpr const T* TableHi() {
  if constexpr (sizeof(T) == 4 && kEntries == 8) {
    return EvenEntries<vek::exp_tables::kExp2J16FHi>::kValues.data();
  } else if constexpr (sizeof(T) == 4) {
    return kEntries == 32 ? vek::exp_tables::kExp2J32FHi : vek::exp_tables::kExp2J16FHi;
  } else {
    return kEntries == 8 ? vek::exp_tables::kExp2J8DHi : vek::exp_tables::kExp2J16DHi;
  }
}
template <class T, int kEntries>
constexpr const T* TableLo() {
  if constexpr (sizeof(T) == 4 && kEntries == 8) {
    return EvenEntries<vek::exp_tables::kExp2J16FLo>::kValues.data();
  } else if constexpr (sizeof(T) == 4) {
    return kEntries == 32 ? vek::exp_tables::kExp2J32FLo : vek::exp_tables::kExp2J16FLo;
  } else {
    return kEntries == 8 ? vek::exp_tables::kExp2J8DLo : vek::exp_tables::kExp2J16DLo;
  }
}

template <int kEntries>
constexpr int Log2Of() {
  return kEntries == 32 ? 5 : kEntries == 16 ? 4 : 3;
}

// The reduction shared by the table kernels.
template <class D>
struct Reduced {
  hn::VFromD<D> n;                      // x / ln 2 on the grid 1/N
  hn::VFromD<hn::RebindToSigned<D>> z;  // the shifted value's bits: index and power
  hn::VFromD<D> r;                      // x - n ln 2, in one or two parts
  hn::VFromD<D> r_hi;                   // x - n ln2hi, exact
};

// For |x| below ln 2 / 2N, n is 0 and the table entry 1: Expm1 then gets e^x - 1 from the
// polynomial alone, with no cancellation against the 1 of the table. kLowerPower takes that many
// units from the shifter's bias, so that z scales the table by 2^(k - kLowerPower); n is the same.
template <int kEntries, bool kTwoPart, int kLowerPower = 0, class D>
HWY_INLINE Reduced<D> Reduce(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  using C = Consts<T>;
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, Shifter<T, kEntries>() - T(kLowerPower));
  const auto l2e = hn::Set(d, C::kLog2E);
  const auto z = Fma(d, x, l2e, shifter);
  Reduced<D> out;
  out.n = hn::Sub(z, shifter);
  out.z = hn::BitCast(di, z);
  out.r_hi = Fnma(d, out.n, hn::Set(d, C::kLn2Hi), x);
  out.r = kTwoPart ? Fnma(d, out.n, hn::Set(d, C::kLn2Lo), out.r_hi) : out.r_hi;
  return out;
}

// T_hi 2^k in one integer addition: the table holds T_hi with the exponent bias and the index
// (as the shifted value's bits carry them) taken out of its bits, so that adding bits(z) moved up
// to the exponent field leaves exactly T_hi's bits with k added to the exponent. Exact for every
// lane that is not rare, where T_hi 2^k is normal.
template <class T, int kEntries>
struct ScaleTable {
  using U = hwy::MakeUnsigned<T>;
  static constexpr int kShift = Consts<T>::kMantissaBits - Log2Of<kEntries>();
  static constexpr std::array<T, kEntries> Make() {
    std::array<T, kEntries> out{};
    const T* hi = TableHi<T, kEntries>();
    for (int j = 0; j < kEntries; ++j) {
      const U bias = static_cast<U>(Consts<T>::kBias) << Consts<T>::kMantissaBits;
      const U index = static_cast<U>(j) << kShift;
      out[j] = std::bit_cast<T>(static_cast<U>(std::bit_cast<U>(hi[j]) - bias - index));
    }
    return out;
  }
  alignas(64) static constexpr std::array<T, kEntries> kValues = Make();
};

template <int kEntries, class D, class Table>
HWY_INLINE hn::VFromD<D> ScaledHi(D d, const Table& base, hn::VFromD<hn::RebindToSigned<D>> z) {
  constexpr int kShift = ScaleTable<hn::TFromD<D>, kEntries>::kShift;
  const hn::RebindToSigned<D> di;
  return hn::BitCast(d, hn::Add(hn::BitCast(di, Lookup(d, base, z)), hn::ShiftLeft<kShift>(z)));
}

template <class T, int kEntries, bool kWithLo>
struct Tables {
  using D = hn::ScalableTag<T>;
  RegisterTable<D, kEntries> hi = LoadTable<kEntries>(D(), ScaleTable<T, kEntries>::kValues.data());
  RegisterTable<D, kEntries> lo = LoadTable<kEntries>(D(), TableLo<T, kEntries>());
};
template <class T, int kEntries>
struct Tables<T, kEntries, false> {
  using D = hn::ScalableTag<T>;
  RegisterTable<D, kEntries> hi = LoadTable<kEntries>(D(), ScaleTable<T, kEntries>::kValues.data());
};

// e^x = s e^r for the double table kernels, s = T_hi 2^k: s + s (r P(r) + T_lo), P by Horner over
// the fitted degree-7 polynomial (3.3e-18 relative): one operation fewer than pairs, and the
// kernels are bound by throughput, not by the chain's latency (the blocks are independent).
// Without T_lo in the tables (LA) the result is within 2^-53 relative more: half an ulp at most.
// ExcessD gives the part relative to s, e^x / s - 1, for callers that keep e^x as s + s p.
template <class D, class Tables>
HWY_INLINE hn::VFromD<D> ExcessD(D d, const Tables& tables, hn::VFromD<D> r,
                                 hn::VFromD<hn::RebindToSigned<D>> z) {
  const double* c = vek::exp_tables::kExpPolyD;
  const auto poly = Horner(d, r, c[0], c[1], c[2], c[3], c[4], c[5], c[6]);
  if constexpr (requires { tables.lo; }) {
    return Fma(d, r, poly, Lookup(d, tables.lo, z));
  } else {
    return hn::Mul(r, poly);
  }
}
template <class D, class Tables>
HWY_INLINE hn::VFromD<D> OfReducedD(D d, const Tables& tables, hn::VFromD<D> r, hn::VFromD<D> s,
                                    hn::VFromD<hn::RebindToSigned<D>> z) {
  return Fma(d, ExcessD(d, tables, r, z), s, s);
}

// The float counterpart on the 16-entry table with T_lo: e^r (1 + T_lo) - 1 =
// r^2 (c4 r^2 + c3 r + c2) + (T_lo + r) with Taylor's coefficients: on |r| <= ln 2 / 32 the first
// term left out, r^5 / 120, is below 4.1e-11 relative; on the 8-entry table's ln 2 / 16 (the
// float hyperbolic kernels), 1.3e-9.
template <class D, class Tables>
HWY_INLINE hn::VFromD<D> ExcessF(D d, const Tables& tables, hn::VFromD<D> r,
                                 hn::VFromD<hn::RebindToSigned<D>> z) {
  const auto t_lo = Lookup(d, tables.lo, z);
  const auto c = Horner(d, r, 0.5f, 1.0f / 6, 1.0f / 24);
  return Fma(d, hn::Mul(r, r), c, hn::Add(t_lo, r));
}

// e^(hi + lo) = s (1 + e) for |hi| below kExpBound and |lo| within a few ulps of hi, by the
// 8-entry table with T_lo: lo joins the reduced argument. The caller rounds s + s e once, or
// scales the pair first (TGamma divides by a product kept in two parts).
template <class D>
struct ScaledExcess {
  hn::VFromD<D> s, e;
};
template <class D, class Tables>
HWY_INLINE ScaledExcess<D> OfPair(D d, const Tables& tables, hn::VFromD<D> hi, hn::VFromD<D> lo) {
  const auto red = Reduce<8, true>(d, hi);
  const auto r = hn::Add(red.r, lo);
  return {ScaledHi<8>(d, tables.hi, red.z), ExcessD(d, tables, r, red.z)};
}

// s - 1 as a pair, for s a positive power of two or a table value times one: s - u - 1 for
// s >= 1, s - (u + 1) below (where u + 1 is exact).
template <class D>
HWY_INLINE Pair<D> MinusOne(D d, hn::VFromD<D> s) {
  const auto one = hn::Set(d, hn::TFromD<D>(1));
  const auto u = hn::Sub(s, one);
  return {u,
          hn::IfThenElse(hn::Lt(s, one), hn::Sub(s, hn::Add(u, one)), hn::Sub(hn::Sub(s, u), one))};
}

}  // namespace exp_detail

// ---------------------------------------------------------------------------------------------
// Exp

enum class ExpLevel { kHA, kLA, kEP };

// The table kernels of Exp: sExp HA with 16 entries, dExp LA and EP with 8. Sixteen floats
// and eight doubles fit one AVX-512 register and take two 32-bit permutes on AVX2, where larger
// tables made the lookups half of the time; the polynomials have a term more instead.
// Calls larger than the last-level cache store their results around the caches: there the
// exponential waits on memory (Cascade Lake, 10^7 elements, ns per element: dExp HA 2.03 -> 1.74
// on AVX-512 and 2.20 -> 1.87 on AVX2, sExp HA 1.03 -> 0.97 on AVX2; a copy of doubles 1.51).
template <class T, ExpLevel kLevel>
struct ExpTableBody : UnaryRealBody<T> {
  static constexpr bool kBoundByMemory = true;
  static constexpr int kEntries = sizeof(T) == 4 ? 16 : 8;
  static constexpr bool kWithLo = kLevel == ExpLevel::kHA;
  const char* name = OXL_VEK_REAL_NAME(T, Exp);
  exp_detail::Tables<T, kEntries, kWithLo> tables;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using C = exp_detail::Consts<T>;
    const auto x = in[0];
    // |x| >= T, and NaN, by an integer compare of the magnitude's bits: the rare routine returns
    // a NaN quieted with its payload, where the fast path would mix in table bits.
    const hn::RebindToSigned<D> di;
    using I = hn::TFromD<decltype(di)>;
    constexpr I kBelowBound = std::bit_cast<I>(C::kExpBound) - 1;
    const auto abs_bits = hn::BitCast(di, hn::Abs(x));
    rare[0] = hn::RebindMask(d, hn::Gt(abs_bits, hn::Set(di, kBelowBound)));
    // Rare lanes compute on zero: their results are replaced, and infinities or huge values
    // would only raise flags on the way. Every other lane has |r| < 2^-4.
    const auto xf = hn::IfThenZeroElse(rare[0], x);
    const auto red = exp_detail::Reduce<kEntries, kLevel != ExpLevel::kEP>(d, xf);
    const auto r = red.r;
    const auto s = exp_detail::ScaledHi<kEntries>(d, tables.hi, red.z);
    hn::Vec<D> result;
    if constexpr (sizeof(T) == 4) {
      result = Fma(d, exp_detail::ExcessF(d, tables, r, red.z), s, s);
    } else if constexpr (kLevel != ExpLevel::kEP) {
      result = exp_detail::OfReducedD(d, tables, r, s, red.z);
    } else {
      // T_hi + (T_hi r) P with Taylor's coefficients: the first term left out, r^5 / 120, is
      // below 1.3e-9 relative on |r| <= ln 2 / 16, where 26 bits ask for 1.5e-8.
      const auto poly = Horner(d, r, 1.0, 0.5, 1.0 / 6, 1.0 / 24);
      result = Fma(d, hn::Mul(s, r), poly, s);
    }
    out[0] = result;
  }

  static int32_t Rare(const T* a, T* r) { return vek::ExpRare(a, r); }
};

namespace exp_detail {

// The reduction of the kernels without a table: n = x / ln 2 rounded to an integer, in z's low
// bits (z = x log2(e) + 1.5 * 2^52, so that bits(z) << 52 adds n to an exponent field), and
// r = x - n ln 2 as r_hi + r_lo and rounded to r, with r^2 for the polynomials.
template <class D>
struct WideReduced {
  hn::VFromD<D> z, r_hi, r_lo, r, r2;
};
template <class D>
HWY_INLINE WideReduced<D> WideReduce(D d, hn::VFromD<D> x) {
  using C = Consts<double>;
  const auto shifter = hn::Set(d, 0x1.8p52);
  WideReduced<D> out;
  out.z = Fma(d, x, hn::Set(d, C::kLog2E), shifter);
  const auto n = hn::Sub(out.z, shifter);
  out.r_hi = Fnma(d, n, hn::Set(d, C::kLn2Hi), x);
  out.r_lo = hn::Mul(n, hn::Set(d, -C::kLn2Lo));
  out.r = hn::Add(out.r_hi, out.r_lo);
  out.r2 = hn::Mul(out.r, out.r);
  return out;
}

// v with n added to its exponent: exact where the result is normal.
template <class D>
HWY_INLINE hn::VFromD<D> AddToExponent(D d, hn::VFromD<D> v, hn::VFromD<D> z) {
  const hn::RebindToSigned<D> di;
  return hn::BitCast(d, hn::Add(hn::BitCast(di, v), hn::ShiftLeft<52>(hn::BitCast(di, z))));
}

}  // namespace exp_detail

// dExp HA without a table: n = x / ln 2 rounded to an integer, r = x - n ln 2 in two parts
// (|r| <= ln 2 / 2), and e^r = 1 + r + r^2 Q(r) with the fitted degree-9 Q (1.1e-17 relative).
// 1 + r_hi is summed with its rounding error kept (|r_hi| < 1), and that error, r_lo and r^2 Q
// join in one correction, so that the only large rounding is the last one: 0.76 ulp at most over
// 2^26 random arguments, where the error of Q and the rounding of r add 0.2 ulp below 1. It takes
// three FMA-class operations more than the 8-entry table kernel and no lookup: on AVX2 a double
// lookup is two 32-bit permutes, each of which holds the FMA pipes for a cycle (Zen 3), and T_lo
// doubles that. For 0 < |x| < 2^-511, r^2 underflows: the result is still 1 + x rounded, with the
// underflow flag raised.
struct ExpWideBody : UnaryRealBody<double> {
  const char* name = OXL_VEK_REAL_NAME(double, Exp);
  static constexpr bool kBoundByMemory = true;  // as ExpTableBody

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using C = exp_detail::Consts<double>;
    const hn::RebindToSigned<D> di;
    const auto abs_bits = hn::BitCast(di, hn::Abs(in[0]));
    rare[0] =
        hn::RebindMask(d, hn::Gt(abs_bits, hn::Set(di, std::bit_cast<int64_t>(C::kExpBound) - 1)));
    const auto red = exp_detail::WideReduce(d, hn::IfThenZeroElse(rare[0], in[0]));
    const double* c = vek::exp_tables::kExpPolyWideD;
    const auto q =
        HornerEvenOdd(d, red.r, red.r2, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], c[8], c[9]);
    const auto s = FastTwoSum(d, hn::Set(d, 1.0), red.r_hi);
    const auto t = Fma(d, red.r2, q, hn::Add(red.r_lo, s.lo));
    out[0] = exp_detail::AddToExponent(d, hn::Add(s.hi, t), red.z);
  }

  static int32_t Rare(const double* a, double* r) { return vek::ExpRare(a, r); }
};

// The Exp body of a type and level: the double HA kernel has no table.
template <class T, ExpLevel kLevel>
using ExpBody = std::conditional_t<sizeof(T) == 8 && kLevel == ExpLevel::kHA, ExpWideBody,
                                   ExpTableBody<T, kLevel>>;

// sExp LA: no table. z = x log2(e) + 1.5 * 2^23 holds the nearest integer n in its low bits; the
// result is e^r by a degree-5 polynomial with n added to its exponent field as an integer.
struct ExpFloatLowBody : UnaryRealBody<float> {
  const char* name = vek::names::sExp;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const hn::RebindToSigned<D> di;
    // Integer compare of |x|: NaNs lie above the bound and go to the rare routine as well.
    const auto abs_bits = hn::BitCast(di, hn::Abs(in[0]));
    rare[0] = hn::RebindMask(d, hn::Gt(abs_bits, hn::Set(di, 0x42AEAC4F)));
    const auto x = hn::IfThenZeroElse(rare[0], in[0]);
    const auto shifter = hn::Set(d, 12582912.0f);
    const auto z = Fma(d, x, hn::Set(d, exp_detail::Consts<float>::kLog2E), shifter);
    const auto n = hn::Sub(z, shifter);
    auto r = Fnma(d, n, hn::Set(d, 0x1.62e400p-1f), x);  // 0x3F317200
    r = Fnma(d, n, hn::Set(d, 0x1.7f7d1cp-20f), r);      // 0x35BFBE8E
    const auto p = Horner(d, r, 1.0f, 0.9999998807907104f, 0.4999939203262329f,
                          0.16667431592941284f, 0.041873522102832794f, 0.008291719481348991f);
    const auto bits = hn::Add(hn::BitCast(di, p), hn::ShiftLeft<23>(hn::BitCast(di, z)));
    out[0] = hn::BitCast(d, bits);
  }

  static int32_t Rare(const float* a, float* r) { return vek::ExpRare(a, r); }
};

// sExp EP: 2^(x log2 e) by the fast approximation, with whatever it gives at the ends of the
// range: no rare path and no status.
struct ExpFloatFastBody : UnaryRealBody<float> {
  static constexpr bool kRare = false;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    out[0] = Exp2Fast(d, hn::Mul(in[0], hn::Set(d, exp_detail::Consts<float>::kLog2E)));
  }
};

// ---------------------------------------------------------------------------------------------
// Expm1: e^x - 1 = (S - 1) + S q with S = T_hi 2^k and 1 + q = e^r (1 + T_lo). Large negative x
// need no rare path: x is clamped where the result is -1 already, so S stays normal.

// (e^r - 1 - r) / r^2 for the double kernels, degree 6, close to Taylor's: its error on
// |r| <= ln 2 / 16 is below 2e-18 relative.
template <class D>
HWY_INLINE hn::VFromD<D> Expm1TailD(D d, hn::VFromD<D> r) {
  return Horner(d, r, 0.5, 0.1666666666666712, 0.04166666666666792, 0.008333333321199928,
                0.0013888888868262008, 0.00019842304240775933, 2.4802880303830418e-05);
}

// e^x - 1 for x below the bound of Expm1 and not below its clamp, as hi + lo: the HA kernel's
// two terms before their last addition (lo is 0 at LA and EP), for callers that go on with them.
// lo is not below an ulp of hi: it holds the r^2 terms. kEntries and kLevel as the Expm1 kernels
// choose them.
template <class D>
struct Expm1Pair {
  hn::VFromD<D> hi, lo;
};

template <int kEntries, ExpLevel kLevel, class D, class Tables>
HWY_INLINE Expm1Pair<D> Expm1Parts(D d, const Tables& tables, hn::VFromD<D> xc) {
  using T = hn::TFromD<D>;
  using C = exp_detail::Consts<T>;
  const auto red = exp_detail::Reduce<kEntries, true>(d, xc);
  const auto s = exp_detail::ScaledHi<kEntries>(d, tables.hi, red.z);
  const auto one = hn::Set(d, T(1));
  const auto r = red.r;
  if constexpr (kLevel == ExpLevel::kHA) {
    // Everything but the leading terms is small, so it is summed plainly and added last:
    //   e^x - 1 = (s - 1) + s r + [s rr + s r^2 P(r) + s T_lo (1 + r)],
    // with s - 1 and s r and their sum kept to twice the precision.
    const auto rr = Fnma(d, red.n, hn::Set(d, C::kLn2Lo), hn::Sub(red.r_hi, r));
    hn::VFromD<D> tail;
    if constexpr (sizeof(T) == 4) {
      tail = Horner(d, r, 0.5f, 0.16668230295181274f, 0.041670575737953186f);
    } else {
      tail = Expm1TailD(d, r);
    }
    const auto t_lo = Lookup(d, tables.lo, red.z);
    // low = rr + r^2 P + T_lo (1 + r), all relative to s
    auto low = Fma(d, hn::Mul(r, r), tail, rr);
    low = hn::Add(low, Fma(d, t_lo, r, t_lo));
    const auto u = exp_detail::MinusOne(d, s);
    // v = s r exactly as a pair.
    const auto v = hn::Mul(s, r);
    const auto v_err = Fms(d, s, r, v);
    // w = u + v as a pair. |u| >= |v| whenever u is not 0: the nearest table entries below and
    // above 1 (s = 2^((N-1)/N) / 2 and 2^(1/N)) are farther from 1 than ln 2 / 2N times s.
    const auto w = FastTwoSum(d, u.hi, v);
    const auto lows = hn::Add(hn::Add(u.lo, v_err), Fma(d, s, low, w.lo));
    return {w.hi, lows};
  } else {
    hn::VFromD<D> p;
    if constexpr (sizeof(T) == 4 && kLevel == ExpLevel::kLA) {
      // Fitted for |r| <= ln 2 / 64 (0.36 ulp); the Exp kernel's pair, fitted for [0, ln 2 / 32),
      // would leave 1.8 ulp here.
      const auto c = Horner(d, r, 0.500002920627594f, 0.16666680574417114f);
      p = Fma(d, hn::Mul(r, r), c, hn::Add(Lookup(d, tables.lo, red.z), r));
    } else if constexpr (sizeof(T) == 4) {
      p = Fma(d, hn::Mul(r, r), hn::Set(d, 0.5000195503234863f), r);
    } else if constexpr (kLevel == ExpLevel::kLA) {
      p = Fma(d, hn::Mul(r, r), Expm1TailD(d, r), hn::Add(Lookup(d, tables.lo, red.z), r));
    } else {
      const auto q = Horner(d, r, 0.49999999847116894, 0.16666666609881575, 0.04166992506106506,
                            0.008333985011595046);
      p = Fma(d, hn::Mul(r, r), q, r);
    }
    return {Fma(d, s, p, hn::Sub(s, one)), hn::Zero(d)};
  }
}

template <class T, ExpLevel kLevel>
struct Expm1Body : UnaryRealBody<T> {
  // Doubles on the 8-entry table of Exp; floats on 16 (HA) or 32 entries.
  static constexpr int kEntries = sizeof(T) == 8 ? 8 : kLevel == ExpLevel::kHA ? 16 : 32;
  static constexpr bool kWithLo = !(kLevel == ExpLevel::kEP);
  const char* name = OXL_VEK_REAL_NAME(T, Expm1);
  exp_detail::Tables<T, kEntries, kWithLo> tables;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using C = exp_detail::Consts<T>;
    const auto x = in[0];
    // x >= T or NaN, one unordered compare: NaNs leave through the rare routine quieted with
    // their payload, where the fast path would mix in table bits.
    rare[0] = hn::Not(hn::Lt(x, hn::Set(d, C::kExpm1Bound)));
    const auto below = hn::Set(d, C::kClampBelow);
    const auto xc = hn::IfThenZeroElse(rare[0], hn::Max(x, below));
    const auto parts = Expm1Parts<kEntries, kLevel>(d, tables, xc);
    const auto result = kLevel == ExpLevel::kHA ? hn::Add(parts.hi, parts.lo) : parts.hi;
    // e^x - 1 has the sign of x, and a zero keeps its own: the fast formula gives +0 for -0.
    out[0] = hn::CopySign(result, x);
  }

  static int32_t Rare(const T* a, T* r) { return vek::Expm1Rare(a, r); }
};

// dExpm1 HA without a table, on the reduction of the Exp kernel without one: with s = 2^n,
//   e^x - 1 = (s - 1) + s r_hi + s (r_lo + r^2 Q(r)),
// Q fitted to the relative error of e^r - 1 (9.1e-19 on |r| <= ln 2 / 2). s - 1 and s r_hi (exact)
// are summed as pairs, the larger first: |s - 1| >= |s r_hi| whenever n is not 0, since
// |r_hi| <= ln 2 / 2. For n = 0 the sum is r_hi itself, and small arguments get r + r^2 Q with
// no cancellation.
struct Expm1WideBody : UnaryRealBody<double> {
  const char* name = OXL_VEK_REAL_NAME(double, Expm1);

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using C = exp_detail::Consts<double>;
    const auto x = in[0];
    rare[0] = hn::Not(hn::Lt(x, hn::Set(d, C::kExpm1Bound)));
    const auto xc = hn::IfThenZeroElse(rare[0], hn::Max(x, hn::Set(d, C::kClampBelow)));
    const auto red = exp_detail::WideReduce(d, xc);
    const double* c = vek::exp_tables::kExpm1PolyWideD;
    const auto q = HornerEvenOdd(d, red.r, red.r2, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7],
                                 c[8], c[9], c[10]);
    const auto s = exp_detail::AddToExponent(d, hn::Set(d, 1.0), red.z);
    const auto u = exp_detail::MinusOne(d, s);
    const auto w = FastTwoSum(d, u.hi, hn::Mul(s, red.r_hi));
    const auto t = Fma(d, red.r2, q, red.r_lo);
    const auto result = hn::Add(w.hi, Fma(d, s, t, hn::Add(u.lo, w.lo)));
    // e^x - 1 has the sign of x, and a zero keeps its own.
    out[0] = hn::CopySign(result, x);
  }

  static int32_t Rare(const double* a, double* r) { return vek::Expm1Rare(a, r); }
};

// The Expm1 body of a type and level: the double HA kernel has no table.
template <class T, ExpLevel kLevel>
using Expm1KernelBody = std::conditional_t<sizeof(T) == 8 && kLevel == ExpLevel::kHA, Expm1WideBody,
                                           Expm1Body<T, kLevel>>;

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_EXP_INL_H_
