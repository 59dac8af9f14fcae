// Bodies of the Cbrt, InvCbrt and Pow2o3 kernels. Re-included once per SIMD target.
//
// Cbrt reads a table (TableCbrt below): 2^q T (1 + p(r)) with one rounding, 0.54 ulp at most
// (double HA, float HA), its levels differing in the degree of p only. InvCbrt and Pow2o3 keep an
// iteration that needs no table:
//
// |x| = 2^e m with m in [1, 2) (GetExp, GetMant: exact, denormals included); e = 3q + j with
// j in {0, 1, 2}, and u = 2^j m in [1, 8), so that cbrt|x| = 2^q cbrt(u). The exponent is divided
// by three in floating point: q = floor((e + 1/2) / 3) is exact, since (e + 1/2) / 3 lies at least
// 1/6 from an integer, far beyond the rounding of the product by 1/3.
//
// z = u^(-1/3) needs no division: a degree-4 polynomial in m (relative error 3.8e-5) times
// 2^(-j/3) from a three-entry table, then one step of third order,
//   z' = z + z (e/3 + 2 e^2 / 9),  e = 1 - u z^3,
// whose error is of order e^3, near 2^-42. From z' each function takes its last step against an
// exact residual (products split into a rounded part and its error by fused operations):
//   InvCbrt: z'' = z' + z' (1 - u z'^3) / 3, with u z' and z'^2 split into two parts each;
//   Pow2o3:  y = u z'^2 and y' = y + (u - y^3) z'^2 / 3, where u - y^3 is formed from
//            u - fl(y^2 y), exact by Sterbenz's lemma, minus the two products' errors; then the
//            square of y + delta, y^2 split, plus 2 y delta.
// For double each result is then the rounding of a value within a few 2^-80 of the exact one: 0.5
// ulp plus a hair. Float InvCbrt skips the third-order step. Zeros, infinities and NaNs go through
// the same instructions: e = -inf or +inf makes q infinite, and the final Scalef gives zero or
// infinity; a NaN stays a NaN.

#include <array>
#include <limits>

#if defined(OXL_VEK_KERNELS_CBRT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_CBRT_INL_H_
#undef OXL_VEK_KERNELS_CBRT_INL_H_
#else
#define OXL_VEK_KERNELS_CBRT_INL_H_
#endif

#include "vek/frame/kernel-inl.h"
#include "simd/exponent-inl.h"
#include "simd/float_bits.h"
#include "simd/fma-inl.h"
#include "simd/poly-inl.h"
#include "simd/table-inl.h"
#include "vek/kernels/cbrt_tables.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/roots_rare.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {
namespace cbrt_detail {

// The table kernel's levels differ in the polynomial only: its error relative to the result is
// 2^-27 (float HA, which serves LA too; double EP), 2^-13 (float EP), 2^-59 (double HA), 2^-53
// (double LA).
enum class CbrtLevel { kHA, kLA, kEP };

template <class T>
struct TableOf;
template <>
struct TableOf<float> {
  static constexpr const float* kRecip = vek::cbrt_tables::kCbrtRecipF;
  static constexpr const float* kRoot = vek::cbrt_tables::kCbrtRootF;
  template <CbrtLevel kLevel>
  static constexpr const auto& Poly() {
    if constexpr (kLevel != CbrtLevel::kEP) return vek::cbrt_tables::kCbrtPolyHaF;
    if constexpr (kLevel == CbrtLevel::kEP) return vek::cbrt_tables::kCbrtPolyEpF;
  }
};
template <>
struct TableOf<double> {
  static constexpr const double* kRecip = vek::cbrt_tables::kCbrtRecipD;
  static constexpr const double* kRoot = vek::cbrt_tables::kCbrtRootD;
  template <CbrtLevel kLevel>
  static constexpr const auto& Poly() {
    if constexpr (kLevel == CbrtLevel::kHA) return vek::cbrt_tables::kCbrtPolyHaD;
    if constexpr (kLevel == CbrtLevel::kLA) return vek::cbrt_tables::kCbrtPolyLaD;
    if constexpr (kLevel == CbrtLevel::kEP) return vek::cbrt_tables::kCbrtPolyEpD;
  }
};

template <class D>
struct Reduced {
  hn::VFromD<D> u;  // in [1, 8)
  hn::VFromD<D> q;  // cbrt|x| = 2^q cbrt(u)
  hn::VFromD<D> z;  // u^(-1/3), within 2^-40
  bool all_normal;  // x held normal numbers only
};

// |x| = 2^e m, m in [1, 2). For vectors of positive or negative normal numbers alone (the common
// case) by the bits: the exponent field read as a float by the shifter 2^M (its last place is 1),
// the mantissa with the exponent of 1. Otherwise by the exact helpers, which also serve zeros,
// denormals, infinities and NaNs; on normal numbers both give the same bits.
template <class D>
struct Parts {
  hn::VFromD<D> m;
  hn::VFromD<D> e;
  bool all_normal;
};

template <class D>
HWY_INLINE Parts<D> PartsOf(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  using F = simd::FloatBits<T>;
  constexpr int kM = F::kMantissaBits;
  constexpr T kShifter = simd::Pow2<T>(kM);
  const hn::RebindToUnsigned<D> du;
  const auto ax = hn::Abs(x);
  const auto bits = hn::BitCast(du, ax);
  Parts<D> out;
  out.all_normal = hn::AllTrue(d, log_detail::PositiveNormal(d, ax));
  if (HWY_LIKELY(out.all_normal)) {
    const auto field = hn::Or(hn::ShiftRight<kM>(bits), hn::Set(du, simd::ToBits(kShifter)));
    out.e = hn::Sub(hn::BitCast(d, field), hn::Set(d, kShifter + T(F::kBias)));
    out.m = hn::BitCast(d, hn::Or(hn::And(bits, hn::Set(du, simd::kMantissaMask<T>)),
                                  hn::Set(du, simd::ToBits(T(1)))));
  } else {
    out.m = GetMant<simd::MantissaInterval::kOneToTwo, simd::MantissaSign::kClear>(d, x);
    out.e = GetExp(d, x);
  }
  return out;
}

// v 2^k for an integral k: for normal arguments k is within the exponent range and v 2^k normal,
// and 2^k comes from k's bits by the shifter; otherwise Scalef settles the infinite k of zeros and
// infinities.
template <class D>
HWY_INLINE hn::VFromD<D> ScaleBy(D d, hn::VFromD<D> v, hn::VFromD<D> k, bool all_normal) {
  using T = hn::TFromD<D>;
  using F = simd::FloatBits<T>;
  constexpr int kM = F::kMantissaBits;
  constexpr T kShifter = simd::Pow2<T>(kM);
  if (HWY_LIKELY(all_normal)) {
    const hn::RebindToUnsigned<D> du;
    const auto biased = hn::BitCast(du, hn::Add(k, hn::Set(d, kShifter + T(F::kBias))));
    return hn::Mul(v, hn::BitCast(d, hn::ShiftLeft<kM>(biased)));
  }
  return Scalef(d, v, k);
}

template <bool kSquare = false, class D>
HWY_INLINE Reduced<D> Reduce(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const auto parts = PartsOf(d, x);
  const auto m = parts.m;
  const auto e = parts.e;
  Reduced<D> out;
  out.all_normal = parts.all_normal;
  out.q = hn::Floor(hn::Mul(hn::Add(e, hn::Set(d, T(0.5))), hn::Set(d, T(1.0 / 3))));
  const auto j = hn::Sub(e, hn::Mul(out.q, hn::Set(d, T(3))));
  const auto j1 = hn::Eq(j, hn::Set(d, T(1)));
  const auto j2 = hn::Eq(j, hn::Set(d, T(2)));
  out.u = hn::Mul(m, hn::IfThenElse(j2, hn::Set(d, T(4)),
                                    hn::IfThenElse(j1, hn::Set(d, T(2)), hn::Set(d, T(1)))));
  // m^(-1/3) around 3/2, fitted for relative error (Lawson's iteration).
  const auto t = hn::Sub(m, hn::Set(d, T(1.5)));
  const auto p = Horner(d, t, T(0.8735866357430745), T(-0.1938095613693354), T(0.08589180650847958),
                        T(-0.049687323494866355), T(0.028588128389891988));
  const auto table =
      hn::IfThenElse(j2, hn::Set(d, T(0.6299605249474366)),  // 2^(-2/3)
                     hn::IfThenElse(j1, hn::Set(d, T(0.7937005259840998)), hn::Set(d, T(1))));
  const auto z = hn::Mul(p, table);
  if constexpr (sizeof(T) == 4 && !kSquare) {
    // Float InvCbrt needs no step: its last step squares the polynomial's 2^-14.6 (products of
    // two such errors, 0.2 ulp at most). Pow2o3 doubles them, and keeps the step.
    out.z = z;
  } else {
    const auto err = Fnma(d, hn::Mul(out.u, z), hn::Mul(z, z), hn::Set(d, T(1)));
    const auto c = hn::Mul(err, Fma(d, err, hn::Set(d, T(2.0 / 9)), hn::Set(d, T(1.0 / 3))));
    out.z = Fma(d, z, c, z);
  }
  return out;
}

// cbrt(u) as y + delta, y = u z^2 rounded and delta the correction from the exact residual, for
// Pow2o3.
template <class D>
struct Root {
  hn::VFromD<D> y;
  hn::VFromD<D> delta;
};

template <class D>
HWY_INLINE Root<D> RootOf(D d, const Reduced<D>& r) {
  using T = hn::TFromD<D>;
  const auto z2 = hn::Mul(r.z, r.z);
  Root<D> out;
  out.y = hn::Mul(r.u, z2);
  const auto y2 = hn::Mul(out.y, out.y);
  const auto y2_lo = Fms(d, out.y, out.y, y2);
  const auto y3 = hn::Mul(y2, out.y);
  const auto y3_lo = Fms(d, y2, out.y, y3);
  const auto residual = Fnma(d, y2_lo, out.y, hn::Sub(hn::Sub(r.u, y3), y3_lo));
  out.delta = hn::Mul(residual, hn::Mul(z2, hn::Set(d, T(1.0 / 3))));
  return out;
}

// The table kernel of Cbrt. The biased exponent E = 3q + j splits by a 16-bit multiply-high:
// 21846 / 2^16 exceeds 1/3 by 2^-16 / 3, which moves E / 3 up by less than 0.011 for E < 2048,
// while E / 3 lies at least 1/3 below the next integer. The index 16j + t (t the mantissa's top
// four bits) is the top of |x|'s bits, 16E + t, less 48q. Then r = m rc_t - 1 (one rounding,
// |r| < 0.031, so its error is below 2^-58 relative for double and 2^-30 for float) and
// cbrt|x| = 2^q T (1 + p(r)): T carries 2^((j - s) / 3 - K) for the bias 3K + s, and lies within
// 0.016 (double) or 0.03 (float) ulp of its exact value, so the one rounding of T + T p gives 0.5
// ulp and a few hundredths. 2^q goes into the exponent field by an integer add: T (1 + p) is
// normal, and so is its product for a normal x. Denormals are scaled up by 2^(3k) exactly first,
// and q lowered by k; zeros, infinities and NaNs are x + x, which keeps a zero's sign and quiets a
// NaN (under DAZ a denormal reads as a zero, and the scaled value is one).
template <class T>
struct RootTables {
  using D = hn::ScalableTag<T>;
  using Tab = TableOf<T>;
  RegisterTable<D, 16> recip = LoadTable<16>(D(), Tab::kRecip);
  RegisterTable<D, 48> root = LoadTable<48>(D(), Tab::kRoot);
};

// For double lanes on AVX2, whose registers cannot hold the 48 roots, rows of (reciprocal, root)
// by index: one LoadRows reads both, where a register lookup of the reciprocals and a load a lane
// of the roots took twice the operations (2.51 -> 2.13 ns per element on Cascade Lake; a gather
// of the roots, 3.35).
alignas(64) inline constexpr std::array<double, 96> kRecipRootRowsD = [] {
  std::array<double, 96> rows{};
  for (size_t i = 0; i < 48; ++i) {
    rows[2 * i] = vek::cbrt_tables::kCbrtRecipD[i % 16];
    rows[2 * i + 1] = vek::cbrt_tables::kCbrtRootD[i];
  }
  return rows;
}();

template <class D, class VU>
HWY_INLINE VU QuotientBy3(D, VU e) {
#if HWY_TARGET == HWY_SCALAR
  return hn::ShiftRight<16>(hn::Mul(e, hn::Set(hn::DFromV<VU>(), 21846)));
#else
  const hn::Repartition<uint16_t, D> d16;
  return hn::BitCast(hn::DFromV<VU>(), hn::MulHigh(hn::BitCast(d16, e), hn::Set(d16, 21846)));
#endif
}

template <class D, class VU>
HWY_INLINE VU Times48(D, VU q) {
#if HWY_TARGET == HWY_SCALAR
  return hn::Mul(q, hn::Set(hn::DFromV<VU>(), 48));
#else
  const hn::Repartition<uint16_t, D> d16;
  return hn::BitCast(hn::DFromV<VU>(), hn::Mul(hn::BitCast(d16, q), hn::Set(d16, 48)));
#endif
}

template <CbrtLevel kLevel, class D>
HWY_INLINE hn::VFromD<D> TableCbrt(D d, const RootTables<hn::TFromD<D>>& tables, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  using U = simd::BitsOf<T>;
  constexpr int kM = simd::FloatBits<T>::kMantissaBits;
  constexpr int kThirdOfShift = sizeof(T) == 4 ? 8 : 18;  // denormals times 2^(3k)
  const hn::RebindToUnsigned<D> du;
  auto ax = hn::Abs(x);
  auto bits = hn::BitCast(du, ax);
  const bool all_normal = hn::AllTrue(d, log_detail::PositiveNormal(d, ax));
  auto shift = hn::Zero(du);
  if (HWY_UNLIKELY(!all_normal)) {
    const auto tiny = hn::Lt(ax, hn::Set(d, std::numeric_limits<T>::min()));
    ax = hn::IfThenElse(tiny, hn::Mul(ax, hn::Set(d, simd::Pow2<T>(3 * kThirdOfShift))), ax);
    bits = hn::BitCast(du, ax);
    shift = hn::IfThenElseZero(hn::RebindMask(du, tiny), hn::Set(du, U{kThirdOfShift} << kM));
  }
  const auto q = QuotientBy3(d, hn::ShiftRight<kM>(bits));
  const auto index = hn::Sub(hn::ShiftRight<kM - 4>(bits), Times48(d, q));
  const auto m = hn::BitCast(d, hn::Or(hn::And(bits, hn::Set(du, simd::kMantissaMask<T>)),
                                       hn::Set(du, simd::ToBits(T(1)))));
  hn::VFromD<D> recip, root;
#if HWY_TARGET == HWY_AVX2
  if constexpr (sizeof(T) == 8) {
    hn::VFromD<D> cols[2];
    LoadRows<2>(d, kRecipRootRowsD.data(), hn::BitCast(hn::RebindToSigned<D>(), index), cols);
    recip = cols[0];
    root = cols[1];
  } else
#endif
  {
    recip = Lookup(d, tables.recip, index);
    root = Lookup(d, tables.root, index);
  }
  const auto r = Fma(d, m, recip, hn::Set(d, T(-1)));
  const auto y = Fma(d, root, hn::Mul(r, Horner(d, r, TableOf<T>::template Poly<kLevel>())), root);
  auto magnitude = hn::BitCast(d, hn::Add(hn::BitCast(du, y), hn::ShiftLeft<kM>(q)));
  if (HWY_UNLIKELY(!all_normal)) {
    magnitude = hn::BitCast(d, hn::Sub(hn::BitCast(du, magnitude), shift));
    const auto special = hn::Or(hn::Eq(ax, hn::Zero(d)), hn::Not(hn::IsFinite(ax)));
    return hn::IfThenElse(special, hn::Add(x, x), hn::CopySignToAbs(magnitude, x));
  }
  return hn::CopySignToAbs(magnitude, x);
}

}  // namespace cbrt_detail

// Cbrt: no rare path and no status; every real number is a valid argument.
template <class T, cbrt_detail::CbrtLevel kLevel>
struct CbrtBody : UnaryRealBody<T> {
  static constexpr bool kRare = false;
  // Two vectors a block for doubles on AVX2, whose sixteen registers then hold the polynomial's
  // constants and both chains (dCbrt HA on Cascade Lake, ns per element: 2.12 -> 1.87).
  static constexpr size_t kBlock =
      HWY_TARGET == HWY_AVX2 && sizeof(T) == 8 ? 8 : UnaryRealBody<T>::kBlock;
  cbrt_detail::RootTables<T> tables;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    out[0] = cbrt_detail::TableCbrt<kLevel>(d, tables, in[0]);
  }
};

// Pow2o3: cbrt(x)^2, positive for every x but a NaN; no rare path and no status.
template <class T>
struct Pow2o3Body : UnaryRealBody<T> {
  static constexpr bool kRare = false;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    const auto r = cbrt_detail::Reduce</*kSquare=*/true>(d, in[0]);
    const auto root = cbrt_detail::RootOf(d, r);
    const auto square = hn::Mul(root.y, root.y);
    const auto square_lo =
        Fma(d, hn::Add(root.y, root.y), root.delta, Fms(d, root.y, root.y, square));
    out[0] = cbrt_detail::ScaleBy(d, hn::Add(square, square_lo), hn::Add(r.q, r.q), r.all_normal);
  }
};

// InvCbrt: zeros are rare lanes, a singularity.
template <class T>
struct InvCbrtBody : UnaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, InvCbrt);

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    rare[0] = hn::Eq(in[0], hn::Zero(d));
    const auto r = cbrt_detail::Reduce(d, in[0]);
    const auto a = hn::Mul(r.u, r.z);
    const auto a_lo = Fms(d, r.u, r.z, a);
    const auto b = hn::Mul(r.z, r.z);
    const auto b_lo = Fms(d, r.z, r.z, b);
    const auto residual = Fnma(d, a_lo, b, Fnma(d, a, b_lo, Fnma(d, a, b, hn::Set(d, T(1)))));
    const auto z = Fma(d, hn::Mul(r.z, hn::Set(d, T(1.0 / 3))), residual, r.z);
    out[0] = hn::CopySignToAbs(cbrt_detail::ScaleBy(d, z, hn::Neg(r.q), r.all_normal), in[0]);
  }

  static int32_t Rare(const T* a, T* r) { return vek::InvCbrtRare(a, r); }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_CBRT_INL_H_
