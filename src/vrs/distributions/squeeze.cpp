// Gamma's squeeze rounds, one set per SIMD target, and the dispatch to the best target of the
// processor.
//
// A round is a few passes over arrays in the first cache level: the drawn uniforms taken apart into
// the pairs' radius and angle uniforms and the candidates' own; the logarithm and the sine and
// cosine as kernel calls over all pairs; one pass that forms each pair's two normals, judges both
// candidates by the squeeze and stores cubes and verdicts in candidate order, with the indices of
// the candidates left open; the logarithms of those few (about one in ten) as one kernel call;
// one pass that packs the kept values by a compress. A lane's arithmetic is the same on every
// target and in every part of a pass; lanes past the round's end compute on fixed values and no
// result reads them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/distributions/squeeze.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "simd/fma-inl.h"
#include "simd/partial-inl.h"
#include "simd/targets.h"
#include "vrs/distributions/frame.h"
#include "vrs/distributions/rejection.h"
#include "vrs/distributions/squeeze.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs::dist::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using oxl::HWY_NAMESPACE::Fma;
using oxl::HWY_NAMESPACE::LoadPartial;
using oxl::HWY_NAMESPACE::StorePartial;

// 0.0331 of the squeeze 1 - 0.0331 x^4, below the exact acceptance bound for every shape.
constexpr double kSqueeze = std::bit_cast<double>(uint64_t{0x3FA0F27BB2FEC56D});

// The lanes of v where keep is set, moved to the front in order; the lanes after them are not
// defined. Highway's Compress fills its table of lane permutations on the stack at every call for
// 64-bit lanes on AVX-512 and for all lanes on AVX2; here the instruction does it, or one permute
// from a constant table.
#if HWY_TARGET <= HWY_AVX3
template <class D, class V, class M>
HWY_INLINE V PackLanes(D /*d*/, V v, M keep) {
  if constexpr (sizeof(hn::TFromD<D>) == 8) {
    return V{_mm512_maskz_compress_pd(keep.raw, v.raw)};
  } else {
    return hn::Compress(v, keep);
  }
}
#elif HWY_TARGET == HWY_AVX2
// For each mask of a vector's lanes, the 32-bit lanes that the packed 32-bit lanes take (a 64-bit
// lane is two 32-bit lanes): one load and one permute.
struct PackTables {
  alignas(32) int32_t lanes32[256][8];
  alignas(32) int32_t lanes64[16][8];
};
constexpr PackTables kPackTables = [] {
  PackTables t{};
  for (int32_t bits = 0; bits < 256; ++bits) {
    int32_t at = 0;
    for (int32_t lane = 0; lane < 8; ++lane) {
      if ((bits >> lane) & 1) t.lanes32[bits][at++] = lane;
    }
  }
  for (int32_t bits = 0; bits < 16; ++bits) {
    int32_t at = 0;
    for (int32_t lane = 0; lane < 4; ++lane) {
      if ((bits >> lane) & 1) {
        t.lanes64[bits][at++] = 2 * lane;
        t.lanes64[bits][at++] = 2 * lane + 1;
      }
    }
  }
  return t;
}();

template <class D, class V, class M>
HWY_INLINE V PackLanes(D d, V v, M keep) {
  const hn::Repartition<int32_t, D> d32;
  uint8_t bits[8] = {};
  hn::StoreMaskBits(d, keep, bits);
  const int32_t* lanes =
      sizeof(hn::TFromD<D>) == 4 ? kPackTables.lanes32[bits[0]] : kPackTables.lanes64[bits[0] & 15];
  return hn::BitCast(
      d, hn::TableLookupLanes(hn::BitCast(d32, v), hn::IndicesFromVec(d32, hn::Load(d32, lanes))));
}
#else
template <class D, class V, class M>
HWY_INLINE V PackLanes(D /*d*/, V v, M keep) {
  return hn::Compress(v, keep);
}
#endif

// Verdicts as lane values: rejected 0, kept 1, open (the exact test decides) 2.
constexpr int kOpen = 2;

template <class V>
struct Judged {
  V cube;
  V verdict;
};

// The squeeze on a vector of candidates, normals x and uniforms u: t = 1 + c x, v = t^3, and
// u < 1 - 0.0331 x^4 keeps the candidate where t is positive.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE Judged<V> Judge(D d, V c, V x, V u) {
  using T = hn::TFromD<D>;
  const V one = hn::Set(d, T(1));
  const V t = hn::Add(one, hn::Mul(c, x));
  const V x2 = hn::Mul(x, x);
  const auto squeezed = hn::Lt(u, hn::Sub(one, hn::Mul(hn::Set(d, T(kSqueeze)), hn::Mul(x2, x2))));
  const V verdict = hn::IfThenElseZero(hn::Gt(t, hn::Zero(d)),
                                       hn::IfThenElse(squeezed, one, hn::Set(d, T(kOpen))));
  return {hn::Mul(hn::Mul(t, t), t), verdict};
}

// One round of m candidates of kWidth uniforms each; see squeeze.h.
//
// The pairs' arrays start at kFront, a vector in; the held candidate sits just before, as the
// cosine candidate of pair kFront - 1. Candidate j is then the candidate of pair q / 2, on the
// cosine when q is odd, with q = j + 2 kFront - from_held.
template <class T, int kWidth>
int32_t Round(const SqueezeRound<T>& k, StreamRecord* s, int32_t m, T* out, int32_t* status) {
  const hn::ScalableTag<T> d;
  using V = hn::Vec<decltype(d)>;
  constexpr size_t kLanes = hn::MaxLanes(d);
  constexpr size_t kStride = 2 + 2 * kWidth;
  constexpr size_t kFront = kLanes;
  constexpr size_t kPairs = kFront + kRound / 2 + kLanes;
  constexpr size_t kCandidates = kRound + 2 * kLanes;
  const size_t lanes = hn::Lanes(d);

  const size_t from_held = k.held[0] >= T(0) ? 1 : 0;
  const size_t candidates = static_cast<size_t>(m);
  const size_t pairs = (candidates - from_held + 1) / 2;
  const size_t drawn = candidates * kWidth + 2 * pairs;
  HWY_ALIGN T u[kRound * (kWidth + 1) + kStride * kLanes];
  *status = Uniform(s, static_cast<int32_t>(drawn), u, T(0), T(1));
  if (*status < 0) return 0;
  // The last vector of pairs reads past the drawn uniforms, into fixed values.
  std::fill_n(u + drawn, kStride * kLanes, T(0.5));

  // The pairs apart: radius and angle uniforms, the candidates' own uniforms by side (sine 0,
  // cosine 1) and place.
  HWY_ALIGN T radius[kPairs];
  HWY_ALIGN T angle[kPairs];
  HWY_ALIGN T trig[2][kPairs];
  HWY_ALIGN T own[2][kWidth][kPairs];
  radius[kFront - 1] = k.held[0];
  trig[1][kFront - 1] = k.held[1];
  for (size_t w = 0; w < kWidth; ++w) own[1][w][kFront - 1] = u[w];
  const T* first = u + from_held * kWidth;
  if constexpr (kWidth == 1) {
    const V two_pi = hn::Set(d, kTwoPi<T>);
    for (size_t i = 0; i < pairs; i += lanes) {
      V r, a, on_sine, on_cosine;
      hn::LoadInterleaved4(d, first + kStride * i, r, a, on_sine, on_cosine);
      hn::Store(r, d, radius + kFront + i);
      hn::Store(hn::Mul(a, two_pi), d, angle + i);
      hn::Store(on_sine, d, own[0][0] + kFront + i);
      hn::Store(on_cosine, d, own[1][0] + kFront + i);
    }
  } else {
    for (size_t i = 0; i < pairs; ++i) {
      const T* pair = first + kStride * i;
      radius[kFront + i] = pair[0];
      angle[i] = pair[1] * kTwoPi<T>;
      for (size_t w = 0; w < kWidth; ++w) {
        own[0][w][kFront + i] = pair[2 + w];
        own[1][w][kFront + i] = pair[2 + kWidth + w];
      }
    }
  }
  const auto n_pairs = static_cast<int32_t>(pairs);
  Vm<T>::SinCos(n_pairs, angle, trig[0] + kFront, trig[1] + kFront);
  Vm<T>::Ln(n_pairs, radius + kFront);

  // Cubes and verdicts in candidate order (and with two uniforms, the second), the indices of the
  // open candidates packed, as lanes of T (exact for a round's few hundred).
  HWY_ALIGN T cube[kCandidates];
  HWY_ALIGN T verdict[kCandidates];
  HWY_ALIGN T second[kWidth == 2 ? kCandidates : 1];
  HWY_ALIGN T open[kCandidates];
  size_t f = 0;
  const V c = hn::Set(d, k.c);
  const V one = hn::Set(d, T(1));
  const V open_verdict = hn::Set(d, T(kOpen));
  const V end = hn::Set(d, static_cast<T>(candidates));
  if (from_held) {
    const T x = radius[kFront - 1] * trig[1][kFront - 1];
    const Judged<V> judged = Judge(d, c, hn::Set(d, x), hn::Set(d, u[0]));
    cube[0] = hn::GetLane(judged.cube);
    verdict[0] = hn::GetLane(judged.verdict);
    if constexpr (kWidth == 2) second[0] = u[1];
    open[0] = T(0);
    f += verdict[0] == T(kOpen) ? 1 : 0;
  }
  const V minus_two = hn::Set(d, T(-2));
  const V two_steps = hn::Mul(hn::Set(d, T(2)), hn::Iota(d, T(0)));
  for (size_t i = 0; i < pairs; i += lanes) {
    const size_t count = std::min(lanes, pairs - i);
    const size_t j = from_held + 2 * i;
    // The lines of out that the kept values of these candidates go to (at most as far on), on
    // their way in while the round computes.
    PrefetchForStore(out, 2 * i, std::min(2 * i + 2 * lanes, candidates));
    const size_t p = kFront + i;
    // sqrt(-2 ln u): the doubling is exact, and the instruction rounds as the Sqrt kernel does.
    const V rad = hn::Sqrt(hn::Mul(minus_two, LoadPartial(d, radius + p, count)));
    hn::Store(rad, d, radius + p);
    const Judged<V> on_sine = Judge(d, c, hn::Mul(rad, LoadPartial(d, trig[0] + p, count)),
                                    LoadPartial(d, own[0][0] + p, count));
    const Judged<V> on_cosine = Judge(d, c, hn::Mul(rad, LoadPartial(d, trig[1] + p, count)),
                                      LoadPartial(d, own[1][0] + p, count));
    hn::StoreInterleaved2(on_sine.cube, on_cosine.cube, d, cube + j);
    hn::StoreInterleaved2(on_sine.verdict, on_cosine.verdict, d, verdict + j);
    if constexpr (kWidth == 2) {
      hn::StoreInterleaved2(LoadPartial(d, own[0][1] + p, count),
                            LoadPartial(d, own[1][1] + p, count), d, second + j);
    }
    const V at_sine = hn::Add(hn::Set(d, static_cast<T>(j)), two_steps);
    const V at_cosine = hn::Add(at_sine, one);
    const auto open_sine = hn::And(hn::Eq(on_sine.verdict, open_verdict), hn::Lt(at_sine, end));
    const auto open_cosine =
        hn::And(hn::Eq(on_cosine.verdict, open_verdict), hn::Lt(at_cosine, end));
    hn::StoreU(PackLanes(d, at_sine, open_sine), d, open + f);
    f += hn::CountTrue(d, open_sine);
    hn::StoreU(PackLanes(d, at_cosine, open_cosine), d, open + f);
    f += hn::CountTrue(d, open_cosine);
  }

  // The exact test on the open candidates, ln u < x^2 / 2 + d - d v + d ln v: their values
  // gathered, the logarithms of u and of v in one kernel call, the test in vectors, and the
  // verdicts put back in place.
  if (f > 0) {
    HWY_ALIGN T logs[2 * kCandidates];
    HWY_ALIGN T x[kCandidates];
    HWY_ALIGN T v[kCandidates];
    for (size_t i = 0; i < f; ++i) {
      const auto j = static_cast<size_t>(open[i]);
      const size_t q = j + 2 * kFront - from_held;
      logs[i] = own[q % 2][0][q / 2];
      logs[f + i] = v[i] = cube[j];
      x[i] = radius[q / 2] * trig[q % 2][q / 2];
    }
    Vm<T>::Ln(static_cast<int32_t>(2 * f), logs);
    const V half = hn::Set(d, T(0.5));
    const V dv = hn::Set(d, k.d);
    for (size_t i = 0; i < f; i += lanes) {
      const size_t count = std::min(lanes, f - i);
      const V xi = LoadPartial(d, x + i, count);
      const V bound = hn::Add(hn::Sub(hn::Add(hn::Mul(half, hn::Mul(xi, xi)), dv),
                                      hn::Mul(dv, LoadPartial(d, v + i, count))),
                              hn::Mul(dv, LoadPartial(d, logs + f + i, count)));
      hn::Store(hn::IfThenElseZero(hn::Lt(LoadPartial(d, logs + i, count), bound), one), d, x + i);
    }
    for (size_t i = 0; i < f; ++i) verdict[static_cast<size_t>(open[i])] = x[i];
  }
  // The last pair's cosine candidate, when the round ends before it, waits for the next round.
  if (from_held + 2 * pairs > candidates) {
    k.held[0] = radius[kFront + pairs - 1];
    k.held[1] = trig[1][kFront + pairs - 1];
  } else {
    k.held[0] = T(-1);
  }

  // The kept values in order. A whole vector's store at out + kept stays below its own candidates'
  // end (kept never passes the index of the candidate in hand), so it stays inside the round; the
  // last part vector stores only its kept lanes.
  const V dv = hn::Set(d, k.d);
  const V beta = hn::Set(d, k.beta);
  const V a = hn::Set(d, k.a);
  size_t kept = 0;
  for (size_t j = 0; j < candidates; j += lanes) {
    const size_t count = std::min(lanes, candidates - j);
    const auto keep = hn::Eq(LoadPartial(d, verdict + j, count), one);
    const size_t n = hn::CountTrue(d, keep);
    V value = hn::Mul(dv, LoadPartial(d, cube + j, count));
    if constexpr (kWidth == 1) value = Fma(d, beta, value, a);
    StorePartial(d, PackLanes(d, value, keep), out + kept, count == lanes ? lanes : n);
    if constexpr (kWidth == 2) {
      StorePartial(d, PackLanes(d, LoadPartial(d, second + j, count), keep), k.second + kept,
                   count == lanes ? lanes : n);
    }
    kept += n;
  }
  return static_cast<int32_t>(kept);
}

int32_t RoundD(const SqueezeRound<double>& k, StreamRecord* s, int32_t m, double* out,
               int32_t* status) {
  return k.second ? Round<double, 2>(k, s, m, out, status) : Round<double, 1>(k, s, m, out, status);
}
int32_t RoundS(const SqueezeRound<float>& k, StreamRecord* s, int32_t m, float* out,
               int32_t* status) {
  return k.second ? Round<float, 2>(k, s, m, out, status) : Round<float, 1>(k, s, m, out, status);
}

}  // namespace oxl::vrs::dist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::vrs::dist {

HWY_EXPORT(RoundD);
HWY_EXPORT(RoundS);

int32_t SqueezeKept(const SqueezeRound<double>& round, StreamRecord* s, int32_t m, double* out,
                    int32_t* status) {
  return OXL_DISPATCH(RoundD)(round, s, m, out, status);
}
int32_t SqueezeKept(const SqueezeRound<float>& round, StreamRecord* s, int32_t m, float* out,
                    int32_t* status) {
  return OXL_DISPATCH(RoundS)(round, s, m, out, status);
}

}  // namespace oxl::vrs::dist
#endif
