// Bodies of the ErfInv, ErfcInv and CdfNormInv kernels. Re-included once per SIMD target.
//
// The three are one function, s erfinv(a), on two working quantities that each argument gives
// exactly where it is used:
//   ErfInv(x):     a = x,      q = 1 - |x|
//   ErfcInv(y):    a = 1 - y,  q = min(y, 2 - y)          (erfcinv(y) = erfinv(1 - y))
//   CdfNormInv(p): a = 2p - 1, q = 2 min(p, 1 - p), s = sqrt 2
// a is exact where q >= 1/2 (Sterbenz) and q where q <= 1/2, and the result has a's sign.
//
// Central lanes, q >= 1/2 (|a| <= 1/2): s erfinv(a) = a (c0 + S(a^2)), the product with c0 by a
// fused multiply-add, so that the rounded part a S is at most 7% of the result. Tail lanes, q <
// 1/2: s erfcinv(q) is smooth in t = sqrt(-ln q) (it tends to s t), and a polynomial P_k(t - k/4)
// of degree 13 on each piece |t - k/4| <= 1/8 serves t up to 6.625, that is q down to 2^-63. ln q
// comes from the logarithm kernel's terms as a pair, t from the hardware square root with its
// residual t_lo = (-ln q - t^2) / 2t, and P_k(0) is stored in two parts, so that the result is
// P_k(0) plus a small sum of rounded terms. The tail runs only in blocks that hold a tail lane.
//
// Rare lanes: q below 2^-62 (denormals included), q <= 0 (the poles and the arguments outside the
// domain), infinities and NaNs. The scalar routines give them as the element loops do.

#if defined(OXL_VEK_KERNELS_ERFINV_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ERFINV_INL_H_
#undef OXL_VEK_KERNELS_ERFINV_INL_H_
#else
#define OXL_VEK_KERNELS_ERFINV_INL_H_
#endif

#include <utility>

#include "simd/fma-inl.h"
#include "simd/poly-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/erfinv_rare.h"
#include "vek/kernels/erfinv_tables.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/widen-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

using vek::InverseErfFunction;

namespace erfinv_detail {

// The least q of the tail pieces' reach with some margin: t = 6.556 lies in the last piece.
constexpr double kTailMin = 0x1p-62;

template <class D, class V, size_t... K>
HWY_INLINE V CentralSum(D d, V r, const double* c, std::index_sequence<K...>) {
  return Estrin(d, r, hn::Mul(r, r), c[K]...);
}

// s erfcinv(q) for q in [2^-62, 1/2] (others clamped there).
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V Tail(D d, const log_detail::RcpTables<double, LogLevel::kHA>& log_tables,
                  const double* rows, V q) {
  namespace et = vek::erfinv_tables;
  const hn::RebindToSigned<D> di;
  const V qc = hn::Min(hn::Max(q, hn::Set(d, kTailMin)), hn::Set(d, 0.5));
  const auto split = log_detail::SplitOf(d, qc);
  const V c = Lookup(d, log_tables.reciprocal, split.index);
  const auto ln = log_detail::LnTerms<false, double, LogFunction::kLn, LogLevel::kHA>(
      d, log_tables, split, c, hn::Zero(d));
  // -ln q = l_hi + l_lo, renormalised (ln q <= -ln 2 dominates the low part).
  const V ln_hi = hn::Add(ln.hi, ln.lo);
  const V l_lo = hn::Neg(hn::Sub(ln.lo, hn::Sub(ln_hi, ln.hi)));
  const V l_hi = hn::Neg(ln_hi);
  const V t = hn::Sqrt(l_hi);
  const V t_lo = hn::Div(hn::Add(Fma(d, hn::Neg(t), t, l_hi), l_lo), hn::Add(t, t));
  // k = 4t rounded, 3 <= k <= 26; u = t - k/4 is exact.
  const V shifter = hn::Set(d, 0x1p52);
  const V z = hn::Add(hn::Mul(t, hn::Set(d, 4.0)), shifter);
  const V u = Fma(d, hn::Sub(z, shifter), hn::Set(d, -0.25), t);
  const auto piece =
      hn::Sub(hn::And(hn::BitCast(di, z), hn::Set(di, 0xFF)), hn::Set(di, et::kFirstPiece));
  const auto idx = hn::ShiftLeft<4>(piece);
  static_assert(et::kTailRow == 16);
  // Row: P(0) hi and lo, then c_1 .. c_kTailDegree.
  V poly = hn::GatherIndex(d, rows + 1 + et::kTailDegree, idx);
  for (int i = et::kTailDegree - 1; i >= 2; --i) {
    poly = Fma(d, poly, u, hn::GatherIndex(d, rows + 1 + i, idx));
  }
  const V c1 = hn::GatherIndex(d, rows + 2, idx);
  const V p0_hi = hn::GatherIndex(d, rows, idx);
  const V p0_lo = hn::GatherIndex(d, rows + 1, idx);
  // The linear term, up to a quarter of the result in the first pieces, enters exactly through
  // the fused multiply-add; the terms beyond it are near 1% of the result.
  const V rest = hn::Add(p0_lo, Fma(d, c1, t_lo, hn::Mul(hn::Mul(u, u), poly)));
  return hn::Add(p0_hi, Fma(d, u, c1, rest));
}

}  // namespace erfinv_detail

template <InverseErfFunction kFunc>
struct ErfInvBody : UnaryRealBody<double> {
  static constexpr bool kCdf = kFunc == InverseErfFunction::kCdfNormInv;
  const char* name = kFunc == InverseErfFunction::kErfInv    ? vek::names::dErfInv
                     : kFunc == InverseErfFunction::kErfcInv ? vek::names::dErfcInv
                                                             : vek::names::dCdfNormInv;
  log_detail::RcpTables<double, LogLevel::kHA> log_tables;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    namespace et = vek::erfinv_tables;
    const V x = in[0];
    const V one = hn::Set(d, 1.0);
    V a, q;
    if constexpr (kFunc == InverseErfFunction::kErfInv) {
      a = x;
      q = hn::Sub(one, hn::Abs(x));
    } else if constexpr (kFunc == InverseErfFunction::kErfcInv) {
      a = hn::Sub(one, x);
      q = hn::Min(x, hn::Sub(hn::Set(d, 2.0), x));
    } else {
      a = hn::Sub(hn::Add(x, x), one);
      const V low = hn::Min(x, hn::Sub(one, x));
      q = hn::Add(low, low);
    }
    // On |a|, so that a zero gives +0 (the constant term is negative) and takes a's sign below.
    const V m = hn::Abs(a);
    const V r = hn::Mul(m, m);
    const double* central = kCdf ? et::kCentralCdf : et::kCentral;
    const V sum = erfinv_detail::CentralSum(d, r, central,
                                            std::make_index_sequence<std::size(et::kCentral)>());
    V result = Fma(d, m, hn::Set(d, kCdf ? et::kCentralCdfC0 : et::kCentralC0), hn::Mul(m, sum));
    // By q: a = 2p - 1 (1 - y) is exact where q >= 1/2, but may round to 1/2 from just beyond.
    const M is_central = hn::Ge(q, hn::Set(d, 0.5));
    if (!hn::AllTrue(d, is_central)) {
      const V tail = erfinv_detail::Tail(d, log_tables, kCdf ? et::kTailCdf : et::kTail, q);
      result = hn::IfThenElse(is_central, result, tail);
    }
    out[0] = hn::CopySign(result, a);
    // Not(q >= min) also holds for NaN.
    rare[0] = hn::Not(hn::Ge(q, hn::Set(d, erfinv_detail::kTailMin)));
  }

  static int32_t Rare(const double* a, double* r) { return vek::InverseErfRare<kFunc>(a, r); }
};

// The float kernels run the double body on each half of the vector, widened, and round its result
// once to float. Their rare lanes are the double body's, on the float argument.
template <InverseErfFunction kFunc>
struct ErfInvFloatBody : UnaryRealBody<float> {
  const char* name = kFunc == InverseErfFunction::kErfInv    ? vek::names::sErfInv
                     : kFunc == InverseErfFunction::kErfcInv ? vek::names::sErfcInv
                                                             : vek::names::sCdfNormInv;
  ErfInvBody<kFunc> wide;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    RunWidened<1>(wide, d, in, out);
    const V x = in[0];
    const V one = hn::Set(d, 1.0f);
    V q;
    if constexpr (kFunc == InverseErfFunction::kErfInv) {
      q = hn::Sub(one, hn::Abs(x));
    } else if constexpr (kFunc == InverseErfFunction::kErfcInv) {
      q = hn::Min(x, hn::Sub(hn::Set(d, 2.0f), x));
    } else {
      const V m = hn::Min(x, hn::Sub(one, x));
      q = hn::Add(m, m);
    }
    rare[0] = hn::Not(hn::Ge(q, hn::Set(d, static_cast<float>(erfinv_detail::kTailMin))));
  }

  static int32_t Rare(const float* a, float* r) { return vek::InverseErfRare<kFunc>(a, r); }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ERFINV_INL_H_
